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
  mode_t permissions;  ///< those that the process's mask leaves of 0777
};

/// What the items of one copy have in common.
struct CopyState {
  /// Whether each item is waited for by itself, because nothing waits for the whole copy at its end.
  bool syncsEachItem = true;
  /// Whether the file system keeps the modes and owners of new items as they are given; see port::isTrusted().
  bool keepsModes = false;
  /// What a file has that is made in one of the copy's own folders, once one was seen there.
  std::optional<NewFile> newFile;
  /// How contents get from the one file system to the other.
  port::CopyMeans means;
};

/// Opens a regular file for reading; ESTALE or ELOOP when the item is of another kind.
SystemError openFile(Item item, FileDescriptor& file, struct stat& status);

/// Copies a file that openFile() opened, with its metadata, to the name `copy`, which is free.
/// @param status the file's status
SystemError copyFile(int file, const struct stat& status, Item copy, Surroundings surroundings, CopyState& state);

/// Copies a link or a FIFO, with its metadata, to the name `copy`, which is free.
/// @return ENOTSUP for an item of another kind
SystemError copySpecial(Item original, const struct stat& status, Item copy);

/// Makes an empty folder that only its owner can enter, and opens it.
SystemError makePrivateFolder(Item item, Surroundings surroundings, FileDescriptor& folder);

}  // namespace zk
