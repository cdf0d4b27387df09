#pragma once

#include <string>

namespace zk {

// What a path leads to, links followed. Nothing leads to nothing: then each answer is no.

bool isRegularFile(const std::string& path);
bool isFolder(const std::string& path);

/// Whether two paths lead to one item.
bool isSameItem(const std::string& left, const std::string& right);

}  // namespace zk
