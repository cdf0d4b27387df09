#pragma once

#include "posix/ItemHandle.h"

namespace zk {

/// Gives `copy` the extended attributes and ACLs of `original`, but for those that the process may not read or set and
/// those that the file system does not know.
/// @return 0 or an error number
int copyExtendedAttributes(ItemHandle original, ItemHandle copy);

/// Takes from a new item the ACLs that its folder gave to it. Without effect where there are none.
void removeInheritedACLs(ItemHandle item);

}  // namespace zk
