#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// A range of a text or of data: where it begins and how long it is, in bytes.
struct NSRange {
  std::size_t location;  ///< index of its first byte
  std::size_t length;    ///< number of its bytes
};

/// An immutable text in UTF-8. Lengths and positions are in bytes. Bytes from a path or an argument that are not UTF-8
/// are kept unchanged. The text may contain zero bytes.
class NSString final : public NSObject {
 public:
  /// A text of these bytes.
  explicit NSString(std::string bytes) : bytes_(std::move(bytes)) {}

  /// A text of the bytes before the terminating zero; absent for a null pointer.
  static Ref<NSString> stringWithUTF8String(const char* bytes);
  /// A text of these bytes, which may hold zeros.
  static Ref<NSString> stringWithBytes(std::string_view bytes);

  /// The bytes with a zero after the last. They belong to the text.
  const char* UTF8String() const { return bytes_.c_str(); }
  /// The bytes. They belong to the text.
  const std::string& bytes() const { return bytes_; }
  /// The number of bytes.
  std::size_t length() const { return bytes_.size(); }

  /// The byte at `index`, which must be less than the length.
  char characterAtIndex(std::size_t index) const { return bytes_[index]; }
  /// The rest from `index`; the empty text if `index` is at or beyond the end.
  Ref<NSString> substringFromIndex(std::size_t index) const;
  /// The part in `range`, cut to the length of the text.
  Ref<NSString> substringWithRange(NSRange range) const;

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  Ref<NSString> description() const override;

 private:
  std::string bytes_;
};

/// The length of a text in bytes; 0 for an absent one.
inline std::size_t length(const Ref<NSString>& text) { return text ? text->length() : 0; }

/// The object as a text; absent if it is absent or not a text.
Ref<NSString> asString(const Ref<NSObject>& object);

/// A text constant, "pid"_constant. Unlike a global Ref it needs neither construction nor destruction at run time, so
/// it can be used before main() and after it. It gives a single NSString, which is made at first use and never
/// destroyed.
class NSStringConstant {
 public:
  /// A function that returns the text.
  using Text = const Ref<NSString>& (*)();
  /// For the literals below.
  constexpr explicit NSStringConstant(Text text) : text_(text) {}

  /// The text, where one is expected.
  operator const Ref<NSString>&() const { return text_(); }
  /// The text, where an object is expected.
  operator Ref<NSObject>() const { return text_(); }
  /// The text's operations, as with a Ref.
  const NSString* operator->() const { return text_().get(); }
  /// The text itself, as with a Ref.
  const NSString& operator*() const { return *text_(); }
  /// Whether both are the same object, as with two Refs.
  friend bool operator==(const Ref<NSObject>& left, const Ref<NSObject>& right) { return left.get() == right.get(); }

 private:
  Text text_;
};

/// A new text of the bytes before the terminating zero, which lives as long as the process.
const Ref<NSString>& neverDestroyedText(const char* bytes);

/// The bytes of a literal, as a template argument.
template <std::size_t size>
struct LiteralBytes {
  /// A copy of the literal.
  constexpr LiteralBytes(const char (&literal)[size]) { std::copy_n(literal, size, bytes); }
  char bytes[size];  ///< with the zero at the end
};

/// What makes texts of literals. It is part of `zk`; `using namespace zk::literals` brings in nothing else.
inline namespace literals {
/// A text constant: "pid"_constant.
template <LiteralBytes literal>
constexpr NSStringConstant operator""_constant() {
  return NSStringConstant([]() -> const Ref<NSString>& {
    static const Ref<NSString>& text = neverDestroyedText(literal.bytes);
    return text;
  });
}

/// A text literal: "pid"_ns.
inline Ref<NSString> operator""_ns(const char* bytes, std::size_t count) {
  return NSString::stringWithBytes(std::string_view(bytes, count));
}
}  // namespace literals

}  // namespace zk
