#pragma once

#include <sys/stat.h>

#include "posix/ItemHandle.h"

namespace zk {

/// Gives `copy` all that `original`, whose status is `status`, has besides its contents, in an order in which no step
/// undoes another's work: owner and group, extended attributes and ACLs, mode, times. What of the first two the process
/// may not set, or the file system does not know, is left out.
/// @return 0 or an error number
int copyMetadata(ItemHandle original, const struct stat& status, ItemHandle copy);

/// Waits until the open file or folder is on the disk. A file system that has no way to tell is no failure.
/// @return 0 or an error number
int waitUntilOnDisk(int item);

/// Whether the error number says that the process may not do what it asked for, or that it is not known here.
bool isRefusal(int error);

}  // namespace zk
