#pragma once

#include <sys/stat.h>

#include <utility>

namespace zk {

/// What tells an item on disk from every other, whatever its name: its device and its number there.
using ItemIdentity = std::pair<dev_t, ino_t>;

inline ItemIdentity identityOf(const struct stat& item) { return {item.st_dev, item.st_ino}; }

}  // namespace zk
