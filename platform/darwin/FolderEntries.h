#pragma once

#include <vector>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk::darwin {

/// What port::readEntries() does, by the calls that POSIX has for it.
SystemError entriesOf(int folder, std::vector<Entry>& entries);

}  // namespace zk::darwin
