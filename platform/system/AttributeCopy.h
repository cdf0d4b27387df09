#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <initializer_list>
#include <string>

#include "system/SystemError.h"

namespace zk {

/// Fills `result` with a call that returns the size if it is given no room, and fails with ERANGE if the room is too
/// small.
template <class Call>
SystemError readWhole(std::string& result, Call call) {
  // What keeps growing is not measured for ever.
  constexpr int kMostAttempts = 10;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const auto size = call(nullptr, 0);
    if (size < 0) return lastError();
    result.resize(static_cast<std::size_t>(size));
    const auto filled = size == 0 ? size : call(result.data(), result.size());
    if (filled < 0 && errno == ERANGE) continue;
    if (filled < 0) return lastError();
    result.resize(static_cast<std::size_t>(filled));
    return {};
  }
  return SystemError(ERANGE);
}

/// Copies an item's named attributes one by one. One that the process may not read or set, or that the file system does
/// not support, is left out and keeps none of the others from being copied.
/// @tparam Attributes has the calls list(names, size), get(name, value, size) and set(name, value) on one item. The
/// first two return the size if they are given no room; all return a negative number and set errno when they fail.
/// @param isLast tells of a name whether that attribute is copied after all others
/// @param leftOut more errors that an attribute may be left out for
template <class Attributes, class IsLast>
SystemError copyAttributes(const Attributes& original, const Attributes& copy, IsLast isLast,
                           std::initializer_list<int> leftOut) {
  const auto unlessLeftOut = [leftOut](SystemError error) {
    return isRefusal(error) || std::ranges::count(leftOut, error.number()) > 0 ? SystemError() : error;
  };
  std::string names;
  const auto error = readWhole(names, [&](char* room, std::size_t size) { return original.list(room, size); });
  if (error) return unlessLeftOut(error);

  for (const bool isLastTurn : {false, true}) {
    // Each name ends with a zero byte.
    for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
      const char* name = names.c_str() + start;
      if (isLast(name) != isLastTurn) continue;
      std::string value;
      auto failure = readWhole(value, [&](char* room, std::size_t size) { return original.get(name, room, size); });
      if (!failure) failure = errorOf(copy.set(name, value));
      if (unlessLeftOut(failure)) return failure;
    }
  }
  return {};
}

}  // namespace zk
