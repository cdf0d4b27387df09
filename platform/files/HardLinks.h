#pragma once

#include <map>
#include <string>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// Remembers where each item with several names was copied to first, so that it stays one item in the copy.
class HardLinks {
 public:
  /// Remembers that the item with the status `original` was copied to `copy`, whose path from the outermost folder is
  /// `path`.
  SystemError add(const struct stat& original, Item copy, const std::string& path);

  /// Whether the item `original` was copied before.
  bool contains(const struct stat& original) const;

  /// Gives the earlier copy of `original` the further name `copy`. Walks to it from the folder `outermost` without
  /// following a link, and fails with ESTALE if something else has taken its place.
  SystemError link(const struct stat& original, int outermost, Item copy) const;

 private:
  struct Copy {
    std::string path;
    ItemIdentity identity;
  };

  std::map<ItemIdentity, Copy> copies_;
};

/// Whether the error means that the item cannot be linked and has to be copied.
bool isLinkRefusal(SystemError error);

}  // namespace zk
