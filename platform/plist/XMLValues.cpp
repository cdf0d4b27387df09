#include "plist/XMLValues.h"

#include <charconv>
#include <chrono>
#include <limits>
#include <optional>
#include <string>

#include "text/Characters.h"
#include "text/RealNumbers.h"

namespace zk {

namespace {

std::string_view trimmed(std::string_view characters) {
  while (!characters.empty() && isSpace(characters.front())) characters.remove_prefix(1);
  while (!characters.empty() && isSpace(characters.back())) characters.remove_suffix(1);
  return characters;
}

/// Cuts a sign off the front of `characters`, and returns whether it was a minus.
bool takeSign(std::string_view& characters) {
  const bool isNegative = characters.starts_with('-');
  if (isNegative || characters.starts_with('+')) characters.remove_prefix(1);
  return isNegative;
}

/// Cuts a number of exactly `digits` digits, and the `mark` that follows it, off the front of `characters`.
std::optional<int> takeNumber(std::string_view& characters, std::size_t digits, char mark) {
  if (characters.size() <= digits || characters[digits] != mark) return std::nullopt;
  int value = 0;
  for (const char character : characters.substr(0, digits)) {
    if (!isDigit(character)) return std::nullopt;
    value = value * 10 + (character - '0');
  }
  characters.remove_prefix(digits + 1);
  return value;
}

std::optional<unsigned> base64Value(char character) {
  if (character >= 'A' && character <= 'Z') return static_cast<unsigned>(character - 'A');
  if (character >= 'a' && character <= 'z') return static_cast<unsigned>(character - 'a') + 26;
  if (isDigit(character)) return static_cast<unsigned>(character - '0') + 52;
  if (character == '+') return 62;
  return character == '/' ? std::optional(63U) : std::nullopt;
}

}  // namespace

Ref<NSNumber> integerFromXML(std::string_view characters) {
  characters = trimmed(characters);
  const bool isNegative = takeSign(characters);
  const bool isHexadecimal = characters.starts_with("0x") || characters.starts_with("0X");
  if (isHexadecimal) characters.remove_prefix(2);

  std::uint64_t magnitude = 0;
  const char* const end = characters.data() + characters.size();
  const auto [stop, error] = std::from_chars(characters.data(), end, magnitude, isHexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end) return nullptr;

  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
  if (isNegative && magnitude > kLargest + 1) return nullptr;
  if (isNegative) return NSNumber::numberWithLongLong(static_cast<std::int64_t>(0 - magnitude));
  if (magnitude > kLargest) return NSNumber::numberWithUnsignedLongLong(magnitude);
  return NSNumber::numberWithLongLong(static_cast<std::int64_t>(magnitude));
}

Ref<NSNumber> realFromXML(std::string_view characters) {
  const auto value = realFromText(trimmed(characters));
  return value ? NSNumber::numberWithDouble(*value) : nullptr;
}

Ref<NSDate> dateFromXML(std::string_view characters) {
  namespace chrono = std::chrono;
  characters = trimmed(characters);
  const auto year = takeNumber(characters, 4, '-');
  const auto month = takeNumber(characters, 2, '-');
  const auto day = takeNumber(characters, 2, 'T');
  const auto hour = takeNumber(characters, 2, ':');
  const auto minute = takeNumber(characters, 2, ':');
  const auto second = takeNumber(characters, 2, 'Z');
  if (!year || !month || !day || !hour || !minute || !second || !characters.empty()) return nullptr;

  const chrono::year_month_day date(chrono::year(*year), chrono::month(static_cast<unsigned>(*month)),
                                    chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) return nullptr;
  const chrono::seconds time = chrono::sys_days(date).time_since_epoch() + chrono::hours(*hour) +
                               chrono::minutes(*minute) + chrono::seconds(*second);
  return NSDate::dateWithTimeIntervalSince1970(static_cast<double>(time.count()));
}

Ref<NSData> dataFromXML(std::string_view characters) {
  std::string bytes;
  bytes.reserve(characters.size() / 4 * 3);
  unsigned bits = 0;
  std::size_t count = 0;  // of characters in the group of four, the padding included
  std::size_t padding = 0;
  for (const char character : characters) {
    if (isSpace(character)) continue;
    const auto value = base64Value(character);
    if (value ? padding > 0 : character != '=') return nullptr;
    bits = bits << 6 | value.value_or(0);
    padding += value ? 0 : 1;
    if (++count % 4 != 0) continue;
    if (padding > 2) return nullptr;
    for (std::size_t index = 0; index < 3 - padding; ++index) {
      bytes += static_cast<char>(bits >> (16 - 8 * index) & 0xFF);
    }
    bits = 0;
  }
  return count % 4 == 0 ? std::make_shared<NSData>(std::move(bytes)) : nullptr;
}

}  // namespace zk
