#pragma once

#include <map>
#include <string>

#include "posix/ItemCopy.h"
#include "posix/ItemIdentity.h"

namespace zk {

/// The items of a tree that have more than one name, and where the first of each one's names was copied to. So that one
/// item stays one in the copy.
class HardLinks {
 public:
  /// Remembers that the item `original` was copied to `place`, whose path from the outermost folder is `path`.
  /// @return 0 or an error number
  int add(const struct stat& original, ItemPlace place, const std::string& path);

  /// Whether the item `original` was copied before.
  bool contains(const struct stat& original) const;

  /// Gives the copy of the item `original`, which was copied before, another name: the place `copy`. Walks to it from
  /// the folder `outermost` without following a link, and takes nothing else that has come to stand there.
  /// @return 0, or an error number; see isLinkRefusal()
  int link(const struct stat& original, int outermost, ItemPlace copy) const;

 private:
  struct Copy {
    std::string path;
    ItemIdentity identity;
  };

  std::map<ItemIdentity, Copy> copies_;
};

/// Whether the error number says that the file system makes no further link to an item, which can then only be copied.
bool isLinkRefusal(int error);

}  // namespace zk
