#pragma once

#include <string>
#include <vector>

#include "files/Durability.h"
#include "files/Folder.h"
#include "files/FolderChain.h"
#include "files/HardLinks.h"
#include "files/ItemCopy.h"
#include "files/ItemPath.h"
#include "files/NSFileManager.h"

namespace zk {

/// One copy of an item, with everything in it if it is a folder. It walks without recursion, so that depth does not
/// matter, and through open folders, so that a folder swapped for a link does not lead it astray.
///
/// A link at the top that leads to a folder is copied as that folder; any other link stays a link.
class TreeCopy {
 public:
  TreeCopy(NSFileManager& fileManager, NSFileManagerDelegate* delegate, Ref<NSURL> source, Ref<NSURL> destination);

  /// Copies, and waits until the copy is on the disk. False if an error stopped it; error() then returns that error.
  bool run();

  const Ref<NSError>& error() const { return error_; }

 private:
  /// A folder that the walk is in.
  struct Level {
    std::string name;
    struct stat status;  ///< of the source folder
    std::vector<Entry> entries;
    std::size_t next;  ///< the first entry not yet copied
  };

  bool isAtTop() const { return levels_.empty(); }
  Surroundings surroundings() const { return isAtTop() ? Surroundings::shared : Surroundings::own; }

  /// An entry of the folder that the walk is in, and the copy to be made of it. At the top: the whole item.
  Item original(const Entry& entry) const;
  Item copyOf(const Entry& entry) const;
  /// The URL of an item of that folder, in the tree at `top`.
  Ref<NSURL> urlBelow(const Ref<NSURL>& top, const std::string& name) const;
  /// The path of the copy of `entry`, relative to the folder that holds the copied tree.
  std::string pathOfCopy(const Entry& entry) const;

  // False stops the copy.
  bool visit(const Entry& entry);
  bool isWanted(const Entry& entry, const Ref<NSURL>& source, const Ref<NSURL>& destination);
  bool leaveFolder();
  bool goesOnAfter(SystemError error, const Ref<NSURL>& source, const Ref<NSURL>& destination);

  SystemError openOutermost();
  SystemError copy(const Entry& entry);
  SystemError copyRegular(const Entry& entry);
  SystemError lookAt(const Entry& entry, struct stat& status) const;
  SystemError enterFolder(const Entry& entry);
  SystemError finishFolder(const Level& level, int source, int destination) const;

  /// Copies `entry` with `copyItem`. If the item was copied before under another name, links to that copy instead.
  template <class CopyItem>
  SystemError copyOnce(const Entry& entry, const struct stat& status, CopyItem copyItem);

  NSFileManager& fileManager_;
  NSFileManagerDelegate* const delegate_;
  const Ref<NSURL> source_;
  const Ref<NSURL> destination_;
  const std::string sourcePath_;
  const ItemPath destinationPath_;

  FolderChain sourceChain_;
  FolderChain destinationChain_;  ///< begins with the folder that the top item goes into, if that could be opened
  ItemIdentity outermost_{};      ///< the identity of that folder
  std::vector<Level> levels_;     ///< the top item first
  HardLinks hardLinks_;
  CopyState state_;
  Durability durability_;
  Ref<NSError> error_;
};

}  // namespace zk
