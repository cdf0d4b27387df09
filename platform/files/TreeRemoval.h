#pragma once

#include <string>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// Removes an item: a whole tree when it is a folder, without following any link. A folder whose owner lacks the
/// permission to empty it is granted that first. Mount points inside are not entered.
///
/// Others may be at work in the tree: what they have removed counts as removed (but for `item` itself), and what they
/// put into a folder that is being emptied is removed as well, within a bound.
/// @param failedAt receives, after an error, the path from the item's folder to what could not be removed
SystemError removeTree(Item item, std::string& failedAt);

}  // namespace zk
