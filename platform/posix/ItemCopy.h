#pragma once

#include <sys/stat.h>

#include "posix/FileDescriptor.h"

namespace zk {

/// Where an item is, or is going to be: its name in an open folder.
struct ItemPlace {
  int folder;
  const char* name;
};

/// Copies a file, a link or a FIFO, with its metadata, to a place where nothing is. Of a file the copy is then on the
/// disk; of the others, once the folder is.
/// @param status the item's status; what is there must still be of that kind. Of a file that was replaced meanwhile it
/// is renewed.
/// @return 0 or an error number; ENOTSUP for an item of another kind
int copyItem(ItemPlace original, struct stat& status, ItemPlace copy);

/// Makes an empty folder that only its owner can enter, and opens it; closed, with a number in errno, when that fails.
FileDescriptor makePrivateFolder(ItemPlace place);

}  // namespace zk
