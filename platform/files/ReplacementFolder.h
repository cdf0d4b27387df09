#pragma once

#include <string>

#include "files/ItemPath.h"
#include "system/SystemError.h"

namespace zk {

/// Makes a new, empty folder beside `item`, hidden and with a name that nobody can guess.
/// @param name receives its name
SystemError makeReplacementFolder(const ItemPath& item, std::string& name);

}  // namespace zk
