#pragma once

#include <vector>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// What to do if the folder to be opened is a symbolic link.
enum class Links { followed, refused };

/// Opens a folder for reading.
SystemError openFolder(Item item, Links links, FileDescriptor& folder);

/// Opens a folder only to look up names in it, which needs only search permission.
SystemError openFolderToSearch(Item item, Links links, FileDescriptor& folder);

/// Opens a folder for reading. If its owner lacks that permission, grants it first.
SystemError openOwnFolder(Item item, FileDescriptor& folder);

/// Reads all entries of a newly opened folder, in the byte order of their names.
SystemError readEntries(int folder, std::vector<Entry>& entries);

}  // namespace zk
