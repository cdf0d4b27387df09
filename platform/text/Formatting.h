#pragma once

#include <concepts>
#include <initializer_list>
#include <span>
#include <variant>

#include "objects/NSString.h"

namespace zk {

/// One argument of a format: an integer, a real, a C string, an address or an object (absent: "(null)").
class FormatArgument {
 public:
  template <std::integral T>
  FormatArgument(T value)
      : value_(static_cast<std::conditional_t<std::signed_integral<T>, long long, unsigned long long>>(value)) {}
  FormatArgument(double value) : value_(value) {}
  FormatArgument(const char* text) : value_(text) {}
  FormatArgument(const void* address) : value_(address) {}
  FormatArgument(const Ref<NSObject>& object) : value_(static_cast<const NSObject*>(object.get())) {}
  FormatArgument(std::nullptr_t) : value_(static_cast<const NSObject*>(nullptr)) {}

  using Value = std::variant<long long, unsigned long long, double, const char*, const void*, const NSObject*>;
  const Value& value() const { return value_; }

 private:
  Value value_;
};

/// `initWithFormat:locale:arguments:`, without a locale: fills the conversions of `format` (absent: the empty text):
/// those of printf with their flags, widths, precisions and length modifiers (%d %i %u %o %x %X %c %s %p %e %E %f %F %g
/// %G %a %A %%), and "%@" for an object's description. A conversion is left as it is if it has no argument or one of
/// another kind, or if its width or precision is out of range. "*" is not supported. Reals have a decimal point in
/// every locale.
Ref<NSString> stringWithArguments(const Ref<NSString>& format, std::span<const FormatArgument> arguments);

/// `stringWithFormat:`: the same with the arguments given one by one.
template <class... Arguments>
Ref<NSString> stringWithFormat(const Ref<NSString>& format, const Arguments&... arguments) {
  const std::initializer_list<FormatArgument> list{FormatArgument(arguments)...};
  return stringWithArguments(format, std::span<const FormatArgument>(list.begin(), list.size()));
}

}  // namespace zk
