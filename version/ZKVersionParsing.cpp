#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <limits>

#include "ZKVersion.h"
#include "text/NSScanner.h"

namespace zk {

namespace {

/// The version of this application: 1.0.1, spin 13.
constexpr std::uint64_t kApplicationVersion = 100'010'013;

/// Marks a component that has not been read.
constexpr std::uint16_t kUnset = 65'535;
constexpr std::uint16_t kLargestComponent = kUnset - 1;

/// What `strtoull` makes of `text` with base 0, but only with the prefixes 0x for hexadecimal and 0 for octal: newer C
/// libraries know one for binary as well.
std::uint64_t unsignedValue(const char* text) {
  const char* digits = text;
  while (std::isspace(static_cast<unsigned char>(*digits)) != 0) ++digits;
  if (*digits == '+' || *digits == '-') ++digits;

  const bool hasZero = digits[0] == '0';
  const bool hasX = hasZero && (digits[1] == 'x' || digits[1] == 'X');
  return std::strtoull(text, nullptr, hasX ? 16 : hasZero ? 8 : 10);
}

/// The next number of the text, if it can be a component. A number out of range is read past all the same.
std::optional<std::uint16_t> scanComponent(NSScanner& scanner) {
  std::int32_t number = 0;
  if (!scanner.scanInt(number) || number < 0 || number > kLargestComponent) return std::nullopt;
  return static_cast<std::uint16_t>(number);
}

/// The spin in a group "(4)". There may be white space around the group and around the number.
std::optional<std::uint16_t> spinOfGroup(const Ref<NSString>& text) {
  const Ref<NSString> group = stringByTrimmingCharactersInSet(text, NSCharacterSet::whitespaceAndNewlineCharacterSet());
  const std::size_t length = group->length();
  if (length < 3 || group->characterAtIndex(0) != '(' || group->characterAtIndex(length - 1) != ')') {
    return std::nullopt;
  }
  const Ref<NSScanner> scanner = NSScanner::scannerWithString(group->substringWithRange({1, length - 2}));
  const std::optional<std::uint16_t> spin = scanComponent(*scanner);
  return scanner->isAtEnd() ? spin : std::nullopt;
}

}  // namespace

std::uint64_t ZKVersion::applicationVersionUnsignedLongLong() { return kApplicationVersion; }

Ref<NSNumber> ZKVersion::applicationVersionNumber() {
  return NSNumber::numberWithUnsignedLongLong(applicationVersionUnsignedLongLong());
}

Ref<ZKVersion> ZKVersion::versionWithApplication() { return init(); }

Ref<NSNumber> ZKVersion::numberWithUnsignedLongLongFromNSObject(const Ref<NSObject>& object) {
  if (!object) return nullptr;
  if (const Ref<NSNumber> number = asNumber(object)) return number;
  if (const Ref<NSString> text = asString(object)) {
    // Leading zeros are skipped before the base is determined: "010" is ten, and "0x10" is 0, since the x comes next.
    const char* const start = text->UTF8String();
    const char* rest = start;
    while (*rest == '0') ++rest;
    if (*rest == '\0' && rest != start) --rest;
    return NSNumber::numberWithUnsignedLongLong(unsignedValue(rest));
  }
  const std::optional<std::uint64_t> value = object->unsignedLongLongValue();
  return value ? NSNumber::numberWithUnsignedLongLong(*value) : nullptr;
}

Ref<ZKVersion> ZKVersion::initWithNumber(const Ref<NSObject>& number) {
  const Ref<NSNumber> converted = numberWithUnsignedLongLongFromNSObject(number);
  return initWithUnsignedLongLong(converted ? *converted->unsignedLongLongValue() : 0);
}

Ref<ZKVersion> ZKVersion::versionWithNumber(const Ref<NSObject>& number) {
  const Ref<NSNumber> converted = numberWithUnsignedLongLongFromNSObject(number);
  return converted ? versionWithUnsignedLongLong(*converted->unsignedLongLongValue()) : nullptr;
}

Ref<NSNumber> ZKVersion::number() const { return NSNumber::numberWithUnsignedLongLong(version); }

void ZKVersion::setNumber(const Ref<NSObject>& number) {
  const Ref<NSNumber> converted = numberWithUnsignedLongLongFromNSObject(number);
  if (converted) version = *converted->unsignedLongLongValue();
}

Ref<ZKVersion> ZKVersion::versionWithString(const Ref<NSString>& text) {
  NSMutableCharacterSet separators;
  separators.addCharactersInString("."_ns);
  separators.formUnionWithCharacterSet(NSCharacterSet::whitespaceAndNewlineCharacterSet());

  const Ref<NSScanner> scanner = NSScanner::scannerWithString(text);
  if (!scanner) return nullptr;
  scanner->setCaseSensitive(false);
  scanner->setCharactersToBeSkipped(separators);

  // The first number is a packed value if nothing follows it. The scanner gives either end of its range for a number
  // that is out of range.
  std::int64_t first = 0;
  if (!scanner->scanLongLong(first)) return nullptr;
  if (first == std::numeric_limits<std::int64_t>::max() || first == std::numeric_limits<std::int64_t>::min()) {
    return nullptr;
  }
  const auto packed = static_cast<std::uint64_t>(first);
  if (scanner->isAtEnd()) return versionWithUnsignedLongLong(packed);
  if (packed > kLargestComponent) return nullptr;

  std::array<std::uint16_t, 4> components = {static_cast<std::uint16_t>(packed), kUnset, kUnset, kUnset};
  auto& [major, minor, micro, spin] = components;
  for (std::size_t index = 1; index < components.size() && !scanner->isAtEnd(); ++index) {
    if (const std::optional<std::uint16_t> component = scanComponent(*scanner)) {
      components[index] = *component;
      continue;
    }
    const std::optional<std::uint16_t> group = spinOfGroup(text->substringFromIndex(scanner->scanLocation()));
    if (!group) return nullptr;
    spin = *group;
    if (micro == kUnset) micro = 0;
    break;
  }
  if (std::find(components.begin(), components.end(), kUnset) != components.end()) return nullptr;
  return versionWithMajor(major, minor, micro, spin);
}

}  // namespace zk
