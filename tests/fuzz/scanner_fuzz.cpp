// The input's first byte chooses what is skipped, the rest is the text. Scans of both widths in turn must agree with a
// plain reading of the text at the scanner's position.

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>

#include "fuzz/Fuzzing.h"
#include "text/Characters.h"
#include "text/NSScanner.h"

namespace {

using namespace zk;
using fuzz::require;

/// Whether the whole text is an optional sign and digits.
bool isInteger(const std::string& text) {
  const auto digits = text.begin() + (text.starts_with('-') || text.starts_with('+') ? 1 : 0);
  return digits != text.end() && std::all_of(digits, text.end(), isDigit);
}

bool beginsWithInteger(std::string_view text) {
  if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
  return !text.empty() && isDigit(text[0]);
}

template <class T>
T nearest(const std::string& integer) {
  const long long value = std::strtoll(integer.c_str(), nullptr, 10);
  return static_cast<T>(std::clamp<long long>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

/// @return whether a number was read
template <class T>
bool scan(NSScanner& scanner, bool (NSScanner::*scanNumber)(T&), const std::string& text,
          const NSCharacterSet& skipped) {
  constexpr T kUntouched = 77;
  const std::size_t start = scanner.scanLocation();
  const std::size_t number = start + skipped.prefixLength(text, start);
  require(scanner.isAtEnd() == (number == text.size()));

  T value = kUntouched;
  const bool isRead = (scanner.*scanNumber)(value);
  const std::size_t end = scanner.scanLocation();
  require(isRead == beginsWithInteger(std::string_view(text).substr(number)));
  if (isRead) {
    const std::string integer = text.substr(number, end - number);
    require(isInteger(integer) && (end == text.size() || !isDigit(text[end])));
    require(value == nearest<T>(integer));
  } else {
    require(value == kUntouched && end == start);
  }
  return isRead;
}

/// Whatever the bytes, only whole characters of the set are skipped, and all of them.
void requireSkipsWholeCharacters(const NSCharacterSet& skipped, const std::string& text) {
  const std::size_t prefix = skipped.prefixLength(text);
  const std::size_t suffix = skipped.suffixLength(text);
  require(prefix <= text.size() && suffix <= text.size());
  require(skipped.prefixLength(text.substr(prefix)) == 0);
  require(skipped.suffixLength(text.substr(0, text.size() - suffix)) == 0);
  require((prefix == text.size()) == (suffix == text.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(fuzz::asText(data, size).substr(1));
  NSMutableCharacterSet skipped;
  skipped.formUnionWithCharacterSet(NSCharacterSet::whitespaceAndNewlineCharacterSet());
  if (data[0] % 2 == 1) skipped.addCharactersInString(NSString::stringWithUTF8String(".\xE2\x82\xAC"));
  requireSkipsWholeCharacters(skipped, text);

  const Ref<NSScanner> scanner = NSScanner::scannerWithString(NSString::stringWithBytes(text));
  scanner->setCharactersToBeSkipped(skipped);
  while (scan(*scanner, &NSScanner::scanInt, text, skipped) &&
         scan(*scanner, &NSScanner::scanLongLong, text, skipped)) {
  }
  return 0;
}
