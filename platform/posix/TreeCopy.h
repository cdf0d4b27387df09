#pragma once

#include <string>
#include <vector>

#include "files/NSFileManager.h"
#include "posix/FolderChain.h"
#include "posix/HardLinks.h"
#include "posix/ItemPath.h"
#include "posix/PendingItem.h"

namespace zk {

/// One copy of an item, a whole tree when it is a folder. It walks without recursion and through descriptors relative
/// to open folders, so that neither depth nor a folder swapped for a link leads it astray.
///
/// The top of the source may be a link to a folder, and is then copied as that folder; any other link is copied as a
/// link.
class TreeCopy {
 public:
  TreeCopy(NSFileManager& fileManager, NSFileManagerDelegate* delegate, Ref<NSURL> source, Ref<NSURL> destination);

  /// Copies. False when it stopped at an error, which error() then tells.
  bool run();

  const Ref<NSError>& error() const { return error_; }

 private:
  /// A folder that the walk is in.
  struct Level {
    struct stat status;              ///< of the source folder
    std::vector<std::string> names;  ///< of what it holds
    std::size_t next;                ///< the first of those names that was not yet copied
  };

  struct Item {
    std::string sourceName;  ///< in the current source folder; of the top item its whole path
    std::string name;        ///< in the current destination folder
    Ref<NSURL> source;
    Ref<NSURL> destination;
  };

  bool isAtTop() const { return levels_.empty(); }
  Item itemInFolder(const std::string& name) const;

  /// Of these, false stops the copy.
  bool visit(const Item& item);
  bool leaveFolder();
  bool goesOnAfter(int error, const Ref<NSURL>& source, const Ref<NSURL>& destination);

  bool isWanted(const Item& item);

  /// Of these, the result is 0 or an error number.
  int openOutermost(const ItemPath& path);
  int copy(const Item& item);
  int lookAt(const Item& item, struct stat& status) const;
  int enterFolder(const Item& item);
  int copyLinked(const Item& item, struct stat& status);
  int finishFolder(int source, int destination);
  int syncOutermost() const;

  NSFileManager& fileManager_;
  NSFileManagerDelegate* const delegate_;
  const Ref<NSURL> source_;
  const Ref<NSURL> destination_;

  std::string sourcePath_;       ///< of the folder that the walk is in
  std::string destinationPath_;  ///< of its copy
  FolderChain sourceChain_;
  FolderChain destinationChain_;  ///< begins with the folder that the top item goes into, if that could be opened
  ItemIdentity outermost_{};      ///< of that folder
  std::vector<Level> levels_;
  HardLinks hardLinks_;
  Ref<NSError> error_;
};

}  // namespace zk
