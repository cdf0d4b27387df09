#include "text/Formatting.h"

#include <cstdio>
#include <optional>
#include <string_view>

namespace zk {

namespace {

/// One conversion of a format: "%", flags, width, precision, length modifier, letter.
struct Conversion {
  std::string flags;  ///< with width and precision
  std::string_view size;
  char letter;
  std::size_t length;  ///< of the whole conversion in the format, the "%" included
};

/// The conversion at the start of `text`, which begins with "%"; nothing when it is not complete.
std::optional<Conversion> conversionAt(std::string_view text) {
  const auto endOf = [text](std::size_t from, std::string_view characters) {
    const std::size_t end = text.find_first_not_of(characters, from);
    return end == std::string_view::npos ? text.size() : end;
  };
  const std::size_t size = endOf(1, "-+ #0123456789.");
  const std::size_t letter = endOf(size, "hlqjzt");
  if (letter == text.size()) return std::nullopt;
  return Conversion{std::string(text.substr(1, size - 1)), text.substr(size, letter - size), text[letter], letter + 1};
}

template <class T>
std::string print(const std::string& format, T value) {
  char small[64];
  const int count = std::snprintf(small, sizeof small, format.c_str(), value);
  if (count < 0) return {};
  if (static_cast<std::size_t>(count) < sizeof small) return std::string(small, static_cast<std::size_t>(count));
  std::string large(static_cast<std::size_t>(count) + 1, '\0');
  std::snprintf(large.data(), large.size(), format.c_str(), value);
  large.pop_back();
  return large;
}

/// The argument's bits as an integer of the conversion's size, the way a variable argument of that size would be read.
std::optional<unsigned long long> integerBits(const FormatArgument& argument) {
  if (const auto* number = std::get_if<long long>(&argument.value())) return static_cast<unsigned long long>(*number);
  if (const auto* number = std::get_if<unsigned long long>(&argument.value())) return *number;
  return std::nullopt;
}

long long signedOfSize(unsigned long long bits, std::string_view size) {
  if (size == "hh") return static_cast<signed char>(bits);
  if (size == "h") return static_cast<short>(bits);
  if (size.empty()) return static_cast<int>(bits);
  return static_cast<long long>(bits);
}

unsigned long long unsignedOfSize(unsigned long long bits, std::string_view size) {
  if (size == "hh") return static_cast<unsigned char>(bits);
  if (size == "h") return static_cast<unsigned short>(bits);
  if (size.empty()) return static_cast<unsigned int>(bits);
  return bits;
}

/// The conversion filled with its argument; nothing when the argument is of another kind.
std::optional<std::string> fill(const Conversion& conversion, const FormatArgument& argument) {
  const std::string start = "%" + conversion.flags;
  switch (conversion.letter) {
    case 'd':
    case 'i':
      if (const auto bits = integerBits(argument)) return print(start + "lld", signedOfSize(*bits, conversion.size));
      break;
    case 'u':
    case 'o':
    case 'x':
    case 'X':
      if (const auto bits = integerBits(argument)) {
        return print(start + "ll" + conversion.letter, unsignedOfSize(*bits, conversion.size));
      }
      break;
    case 'c':
      if (const auto bits = integerBits(argument)) return print(start + "c", static_cast<int>(*bits));
      break;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      if (const auto* real = std::get_if<double>(&argument.value())) return print(start + conversion.letter, *real);
      break;
    case 's':
      if (const auto* text = std::get_if<const char*>(&argument.value())) {
        return print(start + "s", *text == nullptr ? "(null)" : *text);
      }
      break;
    case 'p':
      if (const auto* address = std::get_if<const void*>(&argument.value())) return print(start + "p", *address);
      break;
    case '@':
      if (const auto* object = std::get_if<const NSObject*>(&argument.value())) {
        return *object == nullptr ? "(null)" : (*object)->description()->bytes();
      }
      break;
    default:
      break;
  }
  return std::nullopt;
}

}  // namespace

Ref<NSString> stringWithArguments(const Ref<NSString>& format, std::span<const FormatArgument> arguments) {
  std::string_view rest = format->bytes();
  std::string result;
  while (true) {
    const std::size_t percent = rest.find('%');
    result += rest.substr(0, percent);
    if (percent == std::string_view::npos) break;
    rest.remove_prefix(percent);

    const std::optional<Conversion> conversion = conversionAt(rest);
    if (!conversion) {
      result += rest;
      break;
    }
    if (conversion->letter == '%') {
      result += '%';
    } else if (arguments.empty()) {
      result += rest.substr(0, conversion->length);
    } else {
      const std::optional<std::string> filled = fill(*conversion, arguments.front());
      result += filled ? *filled : std::string(rest.substr(0, conversion->length));
      arguments = arguments.subspan(1);
    }
    rest.remove_prefix(conversion->length);
  }
  return std::make_shared<NSString>(std::move(result));
}

}  // namespace zk
