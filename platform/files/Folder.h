#pragma once

#include <string>
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

/// What a folder says about one of the items in it.
struct Entry {
  std::string name;
  mode_t type;  ///< S_IFDIR, S_IFREG and so on; 0 if the folder does not say
};

/// Reads all entries of an open folder, sorted by the bytes of their names.
SystemError readEntries(int folder, std::vector<Entry>& entries);

/// The same, and closes the folder.
SystemError readEntries(FileDescriptor folder, std::vector<Entry>& entries);

}  // namespace zk
