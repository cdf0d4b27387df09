#pragma once

#include <vector>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// The folders of a walk, from the outermost down to the current one. However long the chain, only the outermost and
/// the lowest few are open. On the way up a closed folder is opened again as its child's parent, and must still be the
/// same folder.
class FolderChain {
 public:
  /// An empty chain: names are looked up as paths.
  FolderChain() = default;
  /// A chain that begins with `outermost`.
  explicit FolderChain(FileDescriptor outermost);

  bool isEmpty() const { return folders_.empty(); }
  /// The folder that the walk is in, for looking up names.
  int current() const;
  /// The outermost folder.
  int outermost() const { return folders_.front().descriptor.get(); }

  /// Goes down into `folder`, a child of the current one, with the identity `identity`.
  void enter(FileDescriptor folder, ItemIdentity identity);

  /// Goes up, and hands out the folder that it left, still open. After an error the walk stays where it is; the error
  /// is ESTALE if the folder has been moved elsewhere.
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
