#pragma once

#include <string>

namespace zk {

/// Removes the item `name` of the open folder `folder`: a whole tree when it is a folder, without following any link. A
/// folder whose owner has no permission to empty it is granted that first. What is mounted inside is not entered.
/// @param failedAt written on failure: the path, from `folder`, of the first item that could not be removed, which
/// ended the removal
/// @return 0 or an error number
int removeTree(int folder, const std::string& name, std::string& failedAt);

}  // namespace zk
