#pragma once

#include <sys/stat.h>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

inline constexpr mode_t kPermissions = 0777;
inline constexpr mode_t kAllModeBits = 07777;

/// Gives `copy` everything that `original` has besides its contents: owner and group, extended attributes and ACLs,
/// mode, times, and what may forbid changes. In this order no step undoes or forbids another. An owner, group, attribute
/// or ACL that the process may not set, or that the file system does not support, is left out.
/// copyFile() (files/ItemCopy.h) calls only copyTimes() for a new file that already has everything else. A further time
/// belongs in copyTimes(). For any other attribute, extend that test. What may forbid changes needs none: a system that
/// has such properties trusts no file system.
/// @param status the status of `original`
SystemError copyMetadata(Item original, const struct stat& status, Item copy);

/// Gives `copy` the times of the item whose status is `original`.
SystemError copyTimes(const struct stat& original, Item copy);

}  // namespace zk
