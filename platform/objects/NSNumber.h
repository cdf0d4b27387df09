#pragma once

#include <variant>

#include "objects/NSObject.h"

namespace zk {

/// An immutable number object: a boolean, a signed or unsigned 64-bit integer, or a double.
class NSNumber : public NSObject {
 public:
  /// The value with its kind.
  using Value = std::variant<bool, std::int64_t, std::uint64_t, double>;

  /// A number of that value and kind.
  explicit NSNumber(Value value) : value_(value) {}

  /// A boolean.
  static Ref<NSNumber> numberWithBool(bool value);
  /// A signed integer.
  static Ref<NSNumber> numberWithInt(std::int32_t value);
  /// A signed integer.
  static Ref<NSNumber> numberWithLongLong(std::int64_t value);
  /// An unsigned integer.
  static Ref<NSNumber> numberWithUnsignedLongLong(std::uint64_t value);
  /// A real.
  static Ref<NSNumber> numberWithDouble(double value);

  /// The value as it is held.
  const Value& value() const { return value_; }
  /// Whether it was made of a boolean.
  bool isBoolean() const { return std::holds_alternative<bool>(value_); }
  /// Whether it was made of a real.
  bool isReal() const { return std::holds_alternative<double>(value_); }
  /// Neither a boolean nor a real.
  bool isInteger() const { return !isBoolean() && !isReal(); }

  /// Whether it is not 0.
  bool boolValue() const;
  /// The low 32 bits of longLongValue().
  std::int32_t intValue() const;
  /// Integers by their two's complement. Reals are rounded towards zero; not-a-number gives 0, a value out of range the
  /// nearer end.
  std::int64_t longLongValue() const;
  /// The nearest real.
  double doubleValue() const;
  /// Converts like longLongValue(). Never nothing.
  std::optional<std::uint64_t> unsignedLongLongValue() const override;

  /// Numbers are equal by value, whatever they are held as: 1, 1.0 and true are equal.
  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  Ref<NSString> description() const override;

 private:
  Value value_;
};

/// The object as a number; absent if it is absent or not a number.
Ref<NSNumber> asNumber(const Ref<NSObject>& object);

}  // namespace zk
