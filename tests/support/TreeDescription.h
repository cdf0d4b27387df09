#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace zk::test {

/// The contents of a tree. For each item, by its path from the top ("" for the top itself), it has one text with
/// everything that a copy must keep: kind, mode, owner, times of change to the nanosecond, contents or target, extended
/// attributes and ACLs, and which other names the item has. Two trees are the same exactly if their descriptions are
/// equal.
using TreeDescription = std::map<std::string, std::string>;

/// Describes the tree at `top` without following a link. @throws std::runtime_error if something cannot be read
TreeDescription describeTree(const std::filesystem::path& top);

}  // namespace zk::test
