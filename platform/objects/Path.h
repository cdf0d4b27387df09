#pragma once

#include <string>
#include <string_view>

namespace zk {

/// The path without trailing slashes; the root folder keeps its one.
std::string_view withoutTrailingSlashes(std::string_view path);

/// Turns the path of a folder into the path of the item called `name` in it.
void appendName(std::string& path, std::string_view name);

/// The path of an item called `name` in `folder`.
std::string joinedPath(std::string_view folder, std::string_view name);

/// What follows the last slash: the whole path if it has no slash, nothing for the root folder.
std::string_view lastName(std::string_view path);

/// What follows the last dot of a name; empty if there is no dot, or nothing before it.
std::string_view pathExtension(std::string_view name);

/// The name without its extension and the dot before it.
std::string_view nameWithoutExtension(std::string_view name);

}  // namespace zk
