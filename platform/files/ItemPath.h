#pragma once

#include <string>
#include <string_view>

namespace zk {

/// A path split in two: the folder that holds the item, and the item's name. Trailing slashes are ignored.
struct ItemPath {
  explicit ItemPath(std::string_view path);

  /// Whether an item can be made or removed at this path: not if its name is "", "." or "..", and not if a zero byte
  /// would cut the path short.
  bool namesItem() const;

  std::string folder;
  std::string name;  ///< empty for the root folder
};

}  // namespace zk
