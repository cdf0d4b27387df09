#pragma once

#include <string>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// Removes an item, with everything in it if it is a folder, without following any link. A folder that its owner has no
/// permission to empty gets that permission first. Mount points inside are not entered.
///
/// Others may change the tree meanwhile. What they remove counts as removed, except for `item` itself. What they add to
/// a folder that is being emptied is removed as well, up to a limit.
/// @param failedAt after an error, receives the path of what could not be removed, relative to the item's folder
SystemError removeTree(Item item, std::string& failedAt);

}  // namespace zk
