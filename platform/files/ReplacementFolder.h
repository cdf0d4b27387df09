#pragma once

#include <string>

#include "files/ItemPath.h"
#include "system/SystemError.h"

namespace zk {

/// What the names of all replacement folders of an item begin with; 16 hexadecimal digits follow. The item's name is
/// cut so that the whole fits into 255 bytes.
std::string replacementPrefix(const std::string& name);

/// Makes a new, empty folder beside `item`, hidden and with a name that nobody can guess.
/// @param name receives its name
SystemError makeReplacementFolder(const ItemPath& item, std::string& name);

}  // namespace zk
