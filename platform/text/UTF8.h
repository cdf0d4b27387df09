#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zk {

/// A Unicode code point and how many bytes of UTF-8 it takes.
struct CodePoint {
  char32_t value;
  std::size_t length;
};

/// The code point that begins at `index` of `text`; nothing at the end of the text, or if the bytes are not UTF-8 (a
/// stray or missing continuation byte, a longer form than needed, a surrogate, a value beyond U+10FFFF).
std::optional<CodePoint> codePointAt(std::string_view text, std::size_t index);

/// The code point that ends right before `end`; nothing at the start of the text, or if the bytes are not UTF-8.
std::optional<CodePoint> codePointBefore(std::string_view text, std::size_t end);

}  // namespace zk
