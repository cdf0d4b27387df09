#include "objects/Path.h"

namespace zk {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

void appendName(std::string& path, std::string_view name) {
  if (!path.ends_with('/')) path += '/';
  path += name;
}

std::string joinedPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  appendName(path, name);
  return path;
}

std::string_view lastName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string_view pathExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string_view nameWithoutExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace zk
