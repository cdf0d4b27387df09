#pragma once

#include <string>
#include <vector>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// How a name that is a symbolic link is taken when a folder is opened.
enum class Links { followed, refused };

/// Opens a folder for reading.
SystemError openFolder(Item item, Links links, FileDescriptor& folder);

/// Opens a folder only to look up names in it, which needs only search permission.
SystemError openFolderToSearch(Item item, Links links, FileDescriptor& folder);

/// Opens a folder for reading; where its owner lacks that permission, grants it first.
SystemError openOwnFolder(Item item, FileDescriptor& folder);

/// What a folder says about one of the items in it.
struct Entry {
  std::string name;
  mode_t type;  ///< S_IFDIR, S_IFREG and so on; 0 when the folder does not tell
};

/// Reads all entries of an open folder, in the order of their names' bytes.
SystemError readEntries(int folder, std::vector<Entry>& entries);

/// The same, and closes the folder.
SystemError readEntries(FileDescriptor folder, std::vector<Entry>& entries);

}  // namespace zk
