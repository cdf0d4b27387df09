#include "process/NSUserDefaults.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "system/System.h"
#include "text/Characters.h"

namespace zk {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

/// Whether an argument is a key: a hyphen followed by something other than a digit, and not just "--".
bool isKey(std::string_view argument) {
  return argument.size() > 1 && argument.front() == '-' && !isDigit(argument[1]) && argument != "--";
}

std::string_view withoutLeading(std::string_view text, std::string_view characters) {
  return text.substr(std::min(text.find_first_not_of(characters), text.size()));
}

/// A text after its white space and optional sign, and whether the sign was a minus.
struct Unsigned {
  std::string_view text;
  bool isNegative;
};

Unsigned withoutSign(std::string_view text) {
  text = withoutLeading(text, kWhiteSpace);
  const bool hasSign = !text.empty() && (text.front() == '-' || text.front() == '+');
  return {text.substr(hasSign ? 1 : 0), hasSign && text.front() == '-'};
}

}  // namespace

NSUserDefaults& NSUserDefaults::standardUserDefaults() {
  static NSUserDefaults defaults;
  return defaults;
}

Ref<NSString> NSUserDefaults::stringForKey(const Ref<NSString>& key) const {
  const std::vector<std::string> arguments = System::current().arguments();
  Ref<NSString> value;
  for (std::size_t index = 1; index < arguments.size(); ++index) {
    if (!isKey(arguments[index])) continue;
    if (std::string_view(arguments[index]).substr(1) != key->bytes()) continue;
    const bool hasValue = index + 1 < arguments.size() && !isKey(arguments[index + 1]);
    value = hasValue ? NSString::stringWithBytes(arguments[index + 1]) : ""_ns;
  }
  return value;
}

std::int64_t NSUserDefaults::integerForKey(const Ref<NSString>& key) const {
  const Ref<NSString> text = stringForKey(key);
  if (!text) return 0;
  const Unsigned digits = withoutSign(text->bytes());

  constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  // Built up as a negative number, since there is one more of those.
  std::int64_t negative = 0;
  for (const char character : digits.text) {
    if (!isDigit(character)) break;
    const std::int64_t digit = character - '0';
    if (negative < (kSmallest + digit) / 10) return digits.isNegative ? kSmallest : kLargest;
    negative = negative * 10 - digit;
  }
  if (digits.isNegative) return negative;
  return negative == kSmallest ? kLargest : -negative;
}

bool NSUserDefaults::boolForKey(const Ref<NSString>& key) const {
  const Ref<NSString> text = stringForKey(key);
  if (!text) return false;
  const std::string_view rest = withoutLeading(withoutSign(text->bytes()).text, "0");
  return !rest.empty() && std::string_view("YyTt123456789").find(rest.front()) != std::string_view::npos;
}

}  // namespace zk
