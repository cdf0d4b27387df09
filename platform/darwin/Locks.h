#pragma once

#include <sys/stat.h>

namespace zk::darwin {

/// Whether an item's flags forbid to change or remove it.
bool isLocked(const struct stat& status);

}  // namespace zk::darwin
