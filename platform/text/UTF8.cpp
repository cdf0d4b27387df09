#include "text/UTF8.h"

#include <algorithm>
#include <array>

namespace zk {

namespace {

constexpr std::size_t kLongestCodePoint = 4;

/// The smallest value that needs this many bytes.
constexpr std::array<char32_t, kLongestCodePoint + 1> kSmallestOfLength = {0, 0, 0x80, 0x800, 0x10000};

constexpr std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

constexpr bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

constexpr bool isSurrogate(char32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

}  // namespace

std::optional<CodePoint> codePointAt(std::string_view text, std::size_t index) {
  if (index >= text.size()) return std::nullopt;
  const auto byteAt = [text](std::size_t place) { return static_cast<unsigned char>(text[place]); };
  const unsigned char lead = byteAt(index);
  const std::size_t length = lengthByLead(lead);
  if (length == 1) return CodePoint{lead, 1};
  if (isContinuation(lead) || lead > 0xF4 || text.size() - index < length) return std::nullopt;

  char32_t value = lead & (0x7FU >> length);
  for (std::size_t place = index + 1; place < index + length; ++place) {
    if (!isContinuation(byteAt(place))) return std::nullopt;
    value = value << 6 | (byteAt(place) & 0x3FU);
  }
  if (value < kSmallestOfLength[length] || value > 0x10FFFF || isSurrogate(value)) return std::nullopt;
  return CodePoint{value, length};
}

std::optional<CodePoint> codePointBefore(std::string_view text, std::size_t end) {
  const std::string_view before = text.substr(0, end);
  for (std::size_t length = 1; length <= std::min(before.size(), kLongestCodePoint); ++length) {
    const std::optional<CodePoint> found = codePointAt(before, before.size() - length);
    if (found && found->length == length) return found;
  }
  return std::nullopt;
}

}  // namespace zk
