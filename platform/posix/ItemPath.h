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

/// The path without the slashes at its end; the root folder keeps one.
std::string_view withoutTrailingSlashes(std::string_view path);

/// The path of an item called `name` in `folder`.
std::string joinedPath(std::string_view folder, std::string_view name);

}  // namespace zk
