#pragma once

#include <string>
#include <string_view>

namespace zk {

/// A path in two: the folder that the item lies in, and the item's name there. Slashes at the end do not count.
struct ItemPath {
  explicit ItemPath(std::string_view path);

  /// Whether an item can be made or removed here: not as "", "." or "..", and not where a zero byte would cut the path.
  bool namesItem() const;

  std::string folder;
  std::string name;  ///< empty for the root folder
};

}  // namespace zk
