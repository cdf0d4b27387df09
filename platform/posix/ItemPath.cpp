#include "posix/ItemPath.h"

namespace zk {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

ItemPath::ItemPath(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) {
    folder = ".";
    name = path;
  } else {
    folder = withoutTrailingSlashes(path.substr(0, slash + 1));
    name = path.substr(slash + 1);
  }
}

bool ItemPath::namesItem() const {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find('\0') == std::string::npos && folder.find('\0') == std::string::npos;
}

std::string joinedPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.ends_with('/')) path += '/';
  return path.append(name);
}

}  // namespace zk
