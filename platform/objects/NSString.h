#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "objects/NSObject.h"
#include "objects/NeverDestroyed.h"

namespace zk {

/// A range of a text or of data: where it begins and how long it is, in bytes.
struct NSRange {
  std::size_t location;
  std::size_t length;
};

/// An immutable text in UTF-8. Lengths and positions are in bytes. Bytes from a path or an argument that are not UTF-8
/// are kept unchanged. The text may contain zero bytes.
class NSString final : public NSObject {
 public:
  explicit NSString(std::string bytes) : bytes_(std::move(bytes)) {}

  /// A text of the bytes before the terminating zero; absent for a null pointer.
  static Ref<NSString> stringWithUTF8String(const char* bytes);
  static Ref<NSString> stringWithBytes(std::string_view bytes);

  const char* UTF8String() const { return bytes_.c_str(); }
  const std::string& bytes() const { return bytes_; }
  std::size_t length() const { return bytes_.size(); }

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
  using Text = const Ref<NSString>& (*)();
  constexpr explicit NSStringConstant(Text text) : text_(text) {}

  operator const Ref<NSString>&() const { return text_(); }
  operator Ref<NSObject>() const { return text_(); }
  const NSString* operator->() const { return text_().get(); }
  const NSString& operator*() const { return *text_(); }
  /// Whether both are the same object, as with two Refs.
  friend bool operator==(const Ref<NSObject>& left, const Ref<NSObject>& right) { return left.get() == right.get(); }

 private:
  Text text_;
};

/// The bytes of a literal, as a template argument.
template <std::size_t size>
struct LiteralBytes {
  constexpr LiteralBytes(const char (&literal)[size]) { std::copy_n(literal, size, bytes); }
  char bytes[size];
};

inline namespace literals {
template <LiteralBytes literal>
constexpr NSStringConstant operator""_constant() {
  return NSStringConstant([]() -> const Ref<NSString>& {
    static const Ref<NSString>& text = neverDestroyed<Ref<NSString>>(NSString::stringWithUTF8String(literal.bytes));
    return text;
  });
}

/// A text literal: "pid"_ns.
inline Ref<NSString> operator""_ns(const char* bytes, std::size_t count) {
  return NSString::stringWithBytes(std::string_view(bytes, count));
}
}  // namespace literals

}  // namespace zk
