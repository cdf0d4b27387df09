#pragma once

#include <string>

namespace zk {

/// Appends a byte that must not be written as it is, as "\x0a".
inline void appendEscaped(std::string& text, unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

}  // namespace zk
