#pragma once

#include <optional>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/Port.h"
#include "system/SystemError.h"

namespace zk {

/// Where an item is copied to.
enum class Surroundings {
  shared,  ///< any folder: others may see what is made there, and it may hand ACLs down
  own      ///< a folder made by makePrivateFolder(), which only its owner can enter, and which hands nothing down
};

/// What a new file has before anything is set on it.
struct NewFile {
  uid_t owner;
  gid_t group;
  mode_t permissions;  ///< 0777 less the umask
};

/// What the items of one copy have in common.
struct CopyState {
  /// Whether the file system keeps the modes and owners of new items as they are set, and is waited for once at the
  /// end; see port::isTrusted(). Otherwise each item is waited for separately.
  bool isTrusted = false;
  /// What a file made in one of the copy's own folders has; known after the first one.
  std::optional<NewFile> newFile;
  /// How contents can get from one file system to the other.
  port::CopyMeans means;
};

/// Opens a regular file for reading. Fails with ESTALE or ELOOP if the item is of another kind.
SystemError openFile(Item item, FileDescriptor& file, struct stat& status);

/// Copies a file that openFile() opened, with its metadata, to the unused name `copy`.
/// @param status the file's status
SystemError copyFile(int file, const struct stat& status, Item copy, Surroundings surroundings, CopyState& state);

/// Copies a link or a FIFO, with its metadata, to the unused name `copy`.
/// @return ENOTSUP for an item of another kind
SystemError copySpecial(Item original, const struct stat& status, Item copy);

/// Makes an empty folder that only its owner can enter, and opens it.
SystemError makePrivateFolder(Item item, Surroundings surroundings, FileDescriptor& folder);

}  // namespace zk
