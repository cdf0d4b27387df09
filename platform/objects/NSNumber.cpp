#include "objects/NSNumber.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

#include "objects/InCLocale.h"
#include "objects/NSString.h"

namespace zk {

namespace {

/// A real as an integer of type T, rounded towards zero. Not-a-number gives 0, a value out of range the nearer end.
template <class T>
T saturated(double real) {
  if (std::isnan(real)) return 0;
  // The upper end itself is not a double. The next power of two, the first value that is too large, is one.
  const double beyond = std::ldexp(1.0, std::numeric_limits<T>::digits);
  if (real >= beyond) return std::numeric_limits<T>::max();
  if (real <= static_cast<double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
  return static_cast<T>(real);
}

template <class T>
T integerValue(const NSNumber::Value& value) {
  return std::visit(
      [](auto held) -> T {
        if constexpr (std::is_same_v<decltype(held), double>) {
          return saturated<T>(held);
        } else {
          return static_cast<T>(held);
        }
      },
      value);
}

}  // namespace

Ref<NSNumber> NSNumber::numberWithBool(bool value) { return std::make_shared<NSNumber>(value); }
Ref<NSNumber> NSNumber::numberWithInt(std::int32_t value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithLongLong(std::int64_t value) { return std::make_shared<NSNumber>(value); }
Ref<NSNumber> NSNumber::numberWithUnsignedLongLong(std::uint64_t value) { return std::make_shared<NSNumber>(value); }
Ref<NSNumber> NSNumber::numberWithDouble(double value) { return std::make_shared<NSNumber>(value); }

bool NSNumber::boolValue() const {
  return std::visit([](auto held) { return held != decltype(held){}; }, value_);
}

std::int32_t NSNumber::intValue() const { return static_cast<std::int32_t>(longLongValue()); }

std::int64_t NSNumber::longLongValue() const { return integerValue<std::int64_t>(value_); }

double NSNumber::doubleValue() const {
  return std::visit([](auto held) { return static_cast<double>(held); }, value_);
}

std::optional<std::uint64_t> NSNumber::unsignedLongLongValue() const { return integerValue<std::uint64_t>(value_); }

bool NSNumber::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSNumber*>(object.get());
  if (other == nullptr) return false;
  if (isReal() || other->isReal()) return doubleValue() == other->doubleValue();
  // The same 64 bits are the same integer only if both are negative or neither is.
  const bool isNegative = std::holds_alternative<std::int64_t>(value_) && longLongValue() < 0;
  const bool isOtherNegative = std::holds_alternative<std::int64_t>(other->value_) && other->longLongValue() < 0;
  return isNegative == isOtherNegative && longLongValue() == other->longLongValue();
}

std::size_t NSNumber::hash() const { return std::hash<double>()(doubleValue()); }

Ref<NSString> NSNumber::description() const {
  if (isReal()) {
    const InCLocale scope;
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof text, "%.17g", doubleValue()));
    return NSString::stringWithUTF8String(text);
  }
  const bool isUnsigned = std::holds_alternative<std::uint64_t>(value_);
  return NSString::stringWithBytes(isUnsigned ? std::to_string(*unsignedLongLongValue())
                                              : std::to_string(longLongValue()));
}

Ref<NSNumber> asNumber(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSNumber>(object); }

}  // namespace zk
