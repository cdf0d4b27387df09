#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "objects/NSString.h"

namespace zk {

/// A set of Unicode characters. Texts are UTF-8; bytes that are not UTF-8 belong to no set.
class NSCharacterSet {
 public:
  /// The white space and line ends of Unicode: U+0009 to U+000D, U+0020, U+0085, U+00A0, U+1680, U+2000 to U+200A,
  /// U+2028, U+2029, U+202F, U+205F and U+3000.
  static const NSCharacterSet& whitespaceAndNewlineCharacterSet();

  bool characterIsMember(char32_t character) const;

  /// How many bytes of `text`, from `index` on, make up whole characters of the set.
  std::size_t prefixLength(std::string_view text, std::size_t index = 0) const;
  /// How many bytes at the end of `text` make up whole characters of the set.
  std::size_t suffixLength(std::string_view text) const;

 protected:
  struct Range {
    char32_t first;
    char32_t last;
  };

  NSCharacterSet() = default;
  NSCharacterSet(std::initializer_list<Range> ranges);

  void add(Range range);
  void add(const NSCharacterSet& other);

 private:
  std::array<std::uint64_t, 2>
      ascii_{};                ///< one bit for each of the first 128 characters, which most texts are made of
  std::vector<Range> beyond_;  ///< the others
};

/// A set that characters can be added to.
class NSMutableCharacterSet final : public NSCharacterSet {
 public:
  NSMutableCharacterSet() = default;
  /// Adds nothing if the text is absent.
  void addCharactersInString(const Ref<NSString>& characters);
  void formUnionWithCharacterSet(const NSCharacterSet& other);
};

/// `text` without the characters of `set` at its two ends, by whole code points; absent if `text` is.
Ref<NSString> stringByTrimmingCharactersInSet(const Ref<NSString>& text, const NSCharacterSet& set);

}  // namespace zk
