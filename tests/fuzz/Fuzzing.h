#pragma once

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace zk::fuzz {

/// Ends a fuzz target if something that must hold does not.
inline void require(bool holds) {
  if (!holds) std::abort();
}

/// The bytes of an input.
inline std::string_view asText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace zk::fuzz
