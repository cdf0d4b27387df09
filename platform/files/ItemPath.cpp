#include "files/ItemPath.h"

#include "objects/Path.h"

namespace zk {

ItemPath::ItemPath(std::string_view path) {
  path = withoutTrailingSlashes(path);
  name = lastName(path);
  folder = withoutTrailingSlashes(path.substr(0, path.size() - name.size()));
  if (folder.empty()) folder = ".";
}

bool ItemPath::namesItem() const {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find('\0') == std::string::npos && folder.find('\0') == std::string::npos;
}

}  // namespace zk
