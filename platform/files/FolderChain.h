#pragma once

#include <vector>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// The folders from the outermost of a walk down to the one it is in. However long the chain, only the outermost and
/// the lowest few are open. On the way up a closed one is opened again as its child's parent, and must be the same
/// folder.
class FolderChain {
 public:
  /// A chain of no folder: names are looked up as paths.
  FolderChain() = default;
  /// A chain that begins with `outermost`.
  explicit FolderChain(FileDescriptor outermost);

  bool isEmpty() const { return folders_.empty(); }
  /// The folder that the walk is in, to look up names in.
  int current() const;
  /// The outermost folder.
  int outermost() const { return folders_.front().descriptor.get(); }

  /// Goes down into `folder`, which is `current`'s child; `identity` is its own.
  void enter(FileDescriptor folder, ItemIdentity identity);

  /// Goes up, and hands out the folder that it left, still open. After an error the walk stays where it is: ESTALE when
  /// the folder was moved to another place meanwhile.
  SystemError leave(FileDescriptor& left);

 private:
  struct Folder {
    FileDescriptor descriptor;
    ItemIdentity identity;
  };

  SystemError reopenParent();

  std::vector<Folder> folders_;
};

}  // namespace zk
