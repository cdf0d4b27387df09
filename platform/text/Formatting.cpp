#include "text/Formatting.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "objects/InCLocale.h"
#include "text/Characters.h"

namespace zk {

namespace {

template <class T>
constexpr unsigned kBits = sizeof(T) * CHAR_BIT;

/// A length modifier, and how many bits its integer has when it is written once and twice (0: it is never written
/// twice).
struct Size {
  char modifier;
  unsigned bits;
  unsigned bitsDoubled;
};

constexpr std::array<Size, 6> kSizes = {{{'h', kBits<short>, kBits<char>},
                                         {'l', kBits<long>, kBits<long long>},
                                         {'q', kBits<long long>, 0},
                                         {'j', kBits<std::intmax_t>, 0},
                                         {'z', kBits<std::size_t>, 0},
                                         {'t', kBits<std::ptrdiff_t>, 0}}};

bool isFlag(char letter) { return letter == '-' || letter == '+' || letter == ' ' || letter == '#' || letter == '0'; }

/// One conversion of a format.
struct Conversion {
  std::string_view whole;       ///< as written in the format, from "%" to the letter
  std::string_view adjustment;  ///< flags, width and precision
  unsigned bits;                ///< of an integer
  char letter;
};

/// The conversion at the start of `text`, which begins with "%"; nothing if the text ends before the conversion's
/// letter.
std::optional<Conversion> conversionAt(std::string_view text) {
  std::size_t end = 1;
  const auto pass = [text, &end](bool (*belongs)(char)) {
    while (end < text.size() && belongs(text[end])) ++end;
  };
  const auto passOne = [text, &end](char letter) {
    const bool isThere = text.substr(end).starts_with(letter);
    if (isThere) ++end;
    return isThere;
  };

  pass(isFlag);
  pass(isDigit);
  if (passOne('.')) pass(isDigit);
  const std::string_view adjustment = text.substr(1, end - 1);

  unsigned bits = kBits<int>;
  for (const Size& size : kSizes) {
    if (!passOne(size.modifier)) continue;
    bits = size.bitsDoubled != 0 && passOne(size.modifier) ? size.bitsDoubled : size.bits;
    break;
  }

  if (end == text.size()) return std::nullopt;
  return Conversion{text.substr(0, end + 1), adjustment, bits, text[end]};
}

/// Appends one conversion, filled with the argument that it is called with. Returns false and appends nothing if the
/// argument is not of the conversion's kind, or if the width or precision is out of range.
class Filler {
 public:
  Filler(std::string& result, const Conversion& conversion) : result_(result), conversion_(conversion) {}

  bool operator()(long long value) const { return (*this)(static_cast<unsigned long long>(value)); }

  /// An integer is cut to the conversion's size, as a variable argument of that size would be read.
  bool operator()(unsigned long long value) const {
    const unsigned unused = kBits<unsigned long long> - conversion_.bits;
    const unsigned long long atTop = value << unused;
    switch (conversion_.letter) {
      case 'd':
      case 'i':
        return appendDecimal(static_cast<long long>(atTop) >> unused);
      case 'u':
        return appendDecimal(atTop >> unused);
      case 'o':
      case 'x':
      case 'X':
        return print("ll", atTop >> unused);
      case 'c':
        return print("", static_cast<int>(value));
      default:
        return false;
    }
  }

  bool operator()(double value) const {
    const InCLocale scope;
    return std::string_view("eEfFgGaA").find(conversion_.letter) != std::string_view::npos && print("", value);
  }

  bool operator()(const char* text) const {
    return conversion_.letter == 's' && print("", text == nullptr ? "(null)" : text);
  }

  bool operator()(const void* address) const { return conversion_.letter == 'p' && print("", address); }

  bool operator()(const NSObject* object) const {
    if (conversion_.letter != '@') return false;
    result_.append(object == nullptr ? "(null)" : object->description()->bytes());
    return true;
  }

 private:
  template <class T>
  bool appendDecimal(T value) const {
    if (!conversion_.adjustment.empty()) return print("ll", value);
    char digits[24];
    result_.append(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr);
    return true;
  }

  template <class T>
  bool print(std::string_view modifier, T value) const {
    std::string format = "%";
    format.append(conversion_.adjustment).append(modifier).push_back(conversion_.letter);

    char small[64];
    const int count = std::snprintf(small, sizeof small, format.c_str(), value);
    if (count < 0) return false;
    const auto length = static_cast<std::size_t>(count);
    if (length < sizeof small) {
      result_.append(small, length);
    } else {
      const std::size_t start = result_.size();
      result_.resize(start + length + 1);
      static_cast<void>(std::snprintf(result_.data() + start, length + 1, format.c_str(), value));
      result_.pop_back();
    }
    return true;
  }

  std::string& result_;
  const Conversion& conversion_;
};

}  // namespace

Ref<NSString> stringWithArguments(const Ref<NSString>& format, std::span<const FormatArgument> arguments) {
  std::string_view rest = format ? std::string_view(format->bytes()) : std::string_view();
  std::string result;
  while (true) {
    const std::size_t percent = std::min(rest.find('%'), rest.size());
    result.append(rest.substr(0, percent));
    rest.remove_prefix(percent);
    if (rest.empty()) break;

    const std::optional<Conversion> conversion = conversionAt(rest);
    if (!conversion) {
      result.append(rest);
      break;
    }
    rest.remove_prefix(conversion->whole.size());

    if (conversion->letter == '%') {
      result.push_back('%');
    } else if (arguments.empty()) {
      result.append(conversion->whole);
    } else {
      const bool isFilled = std::visit(Filler(result, *conversion), arguments.front().value());
      if (!isFilled) result.append(conversion->whole);
      arguments = arguments.subspan(1);
    }
  }
  return std::make_shared<NSString>(std::move(result));
}

}  // namespace zk
