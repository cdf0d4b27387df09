#pragma once

#include <set>
#include <string>
#include <string_view>

namespace zk::test {

/// The names in a list as the system's calls for attributes fill it: each ends with a zero byte.
inline std::set<std::string> namesIn(std::string_view list) {
  std::set<std::string> names;
  for (std::size_t start = 0; start < list.size(); start = list.find('\0', start) + 1) {
    names.insert(list.data() + start);
  }
  return names;
}

}  // namespace zk::test
