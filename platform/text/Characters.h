#pragma once

#include <optional>

namespace zk {

/// These know only ASCII, whatever the locale.

constexpr bool isSpace(char character) { return character == ' ' || (character >= '\t' && character <= '\r'); }

constexpr bool isDigit(char character) { return character >= '0' && character <= '9'; }

constexpr bool isLetterOrDigit(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

constexpr char lowerCase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

/// The value of a digit in `base`, which is 2 to 16; nothing for any other character.
constexpr std::optional<unsigned> digitValue(char character, unsigned base) {
  unsigned value = base;
  if (isDigit(character)) value = static_cast<unsigned>(character - '0');
  if (character >= 'a' && character <= 'f') value = static_cast<unsigned>(character - 'a') + 10;
  if (character >= 'A' && character <= 'F') value = static_cast<unsigned>(character - 'A') + 10;
  return value < base ? std::optional(value) : std::nullopt;
}

}  // namespace zk
