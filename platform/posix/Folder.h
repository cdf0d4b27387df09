#pragma once

#include <string>
#include <vector>

#include "posix/FileDescriptor.h"

namespace zk {

/// How a name that is a symbolic link is taken when a folder is opened.
enum class Links { followed, refused };

/// Flags for openat() that open a folder only to look names up below it, which its permission to be searched is enough
/// for. The operating systems have different ones.
extern const int kSearchOnly;

/// Opens the folder `name` of the folder `parent` for reading; closed, with a number in errno, when that fails.
FileDescriptor openFolder(int parent, const char* name, Links links);

/// The same, but only to look names up below it.
FileDescriptor openFolderToSearch(int parent, const char* name, Links links);

/// Opens `name` in `parent`, which its owner may have no permission to read, granting that permission first where need
/// be.
FileDescriptor openOwnFolder(int parent, const char* name);

/// Reads the names of all items in an open folder, in the order of their bytes.
/// @return 0 or an error number
int readNames(int folder, std::vector<std::string>& names);

}  // namespace zk
