#include "plist/TextEncoding.h"

#include "text/UTF8.h"

namespace zk {

namespace {

/// The first noncharacter for the high half of a byte, the first one for the low half, and the code point after both
/// ranges.
constexpr char32_t kHighHalf = 0xFDD0;
constexpr char32_t kLowHalf = 0xFDE0;
constexpr char32_t kAfterHalves = 0xFDF0;
/// What these noncharacters begin with in UTF-8, and how long each is.
constexpr std::string_view kHalvesPrefix = "\xEF\xB7";
constexpr std::size_t kHalfLength = 3;

constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kFirstHighSurrogate = 0xD800;
constexpr char32_t kAfterSurrogates = 0xE000;
constexpr char32_t kFirstSupplementary = 0x10000;
constexpr std::size_t kSurrogateLength = 3;

constexpr unsigned byteAt(std::string_view text, std::size_t index) { return static_cast<unsigned char>(text[index]); }

constexpr char32_t continuation(std::string_view text, std::size_t index) { return byteAt(text, index) & 0x3F; }

/// How many bytes of ASCII `bytes` begins with.
std::size_t lengthOfASCII(std::string_view bytes) {
  std::size_t length = 0;
  while (length < bytes.size() && byteAt(bytes, length) < 0x80) ++length;
  return length;
}

/// The high surrogate that `text` ends with, or 0.
char32_t highSurrogateAtEnd(std::string_view text) {
  if (text.size() < kSurrogateLength) return 0;
  const std::string_view last = text.substr(text.size() - kSurrogateLength);
  if (byteAt(last, 0) != 0xED || byteAt(last, 1) < 0xA0 || byteAt(last, 1) > 0xAF) return 0;
  return 0xD000 | continuation(last, 1) << 6 | continuation(last, 2);
}

void appendUnit(std::string& units, char32_t unit) {
  units += static_cast<char>(unit >> 8 & 0xFF);
  units += static_cast<char>(unit & 0xFF);
}

/// The byte whose two halves `text` begins with, or 0.
char32_t byteInHalves(std::string_view text) {
  const auto high = codePointAt(text, 0);
  const auto low = codePointAt(text, kHalfLength);
  if (!high || high->value < kHighHalf || high->value >= kLowHalf) return 0;
  if (!low || low->value < kLowHalf || low->value >= kAfterHalves) return 0;
  const char32_t byte = (high->value - kHighHalf) << 4 | (low->value - kLowHalf);
  return byte >= 0x80 ? byte : 0;  // those below are always UTF-8 and never written in halves
}

}  // namespace

bool isUTF8(std::string_view bytes) {
  while (true) {
    bytes.remove_prefix(lengthOfASCII(bytes));
    if (bytes.empty()) return true;
    const auto codePoint = codePointAt(bytes, 0);
    if (!codePoint) return false;
    bytes.remove_prefix(codePoint->length);
  }
}

bool isASCII(std::string_view bytes) { return lengthOfASCII(bytes) == bytes.size(); }

void appendUTF8(std::string& text, char32_t codePoint) {
  const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
  const auto appendContinuation = [&](unsigned shift) { append(0x80 | (codePoint >> shift & 0x3F)); };
  if (codePoint < 0x80) {
    append(codePoint);
  } else if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6);
    appendContinuation(0);
  } else if (codePoint < kFirstSupplementary) {
    append(0xE0 | codePoint >> 12);
    appendContinuation(6);
    appendContinuation(0);
  } else {
    append(0xF0 | codePoint >> 18);
    appendContinuation(12);
    appendContinuation(6);
    appendContinuation(0);
  }
}

void appendUTF16Unit(std::string& text, char16_t unit) {
  const bool isLowSurrogate = unit >= kFirstLowSurrogate && unit < kAfterSurrogates;
  const char32_t high = isLowSurrogate ? highSurrogateAtEnd(text) : 0;
  if (high == 0) {
    appendUTF8(text, unit);
    return;
  }
  text.resize(text.size() - kSurrogateLength);
  appendUTF8(text, kFirstSupplementary + ((high - kFirstHighSurrogate) << 10) + (unit - kFirstLowSurrogate));
}

std::string utf8FromUTF16(std::string_view units, ByteOrder order) {
  const std::size_t high = order == ByteOrder::BigEndian ? 0 : 1;
  std::string text;
  text.reserve(units.size() / 2);
  for (std::size_t index = 0; index < units.size(); index += 2) {
    appendUTF16Unit(text, static_cast<char16_t>(byteAt(units, index + high) << 8 | byteAt(units, index + 1 - high)));
  }
  return text;
}

std::string utf16FromText(std::string_view text) {
  std::string units;
  units.reserve(text.size() * 2);
  const auto appendByteInHalves = [&units](unsigned byte) {
    appendUnit(units, kHighHalf + (byte >> 4));
    appendUnit(units, kLowHalf + (byte & 0x0F));
  };
  for (std::size_t index = 0; index < text.size();) {
    const auto codePoint = codePointAt(text, index);
    const std::size_t length = codePoint ? codePoint->length : 1;
    if (!codePoint || (codePoint->value >= kHighHalf && codePoint->value < kLowHalf)) {
      for (const char byte : text.substr(index, length)) appendByteInHalves(static_cast<unsigned char>(byte));
    } else if (codePoint->value >= kFirstSupplementary) {
      appendUnit(units, kFirstHighSurrogate + ((codePoint->value - kFirstSupplementary) >> 10));
      appendUnit(units, kFirstLowSurrogate + (codePoint->value & 0x3FF));
    } else {
      appendUnit(units, codePoint->value);
    }
    index += length;
  }
  return units;
}

Ref<NSString> textFromPropertyList(std::string utf8) {
  if (utf8.find(kHalvesPrefix) == std::string::npos) return std::make_shared<NSString>(std::move(utf8));

  std::string text;
  for (std::string_view rest = utf8; !rest.empty();) {
    if (const char32_t byte = byteInHalves(rest)) {
      text += static_cast<char>(byte);
      rest.remove_prefix(2 * kHalfLength);
    } else {
      text += rest.front();
      rest.remove_prefix(1);
    }
  }
  return std::make_shared<NSString>(std::move(text));
}

}  // namespace zk
