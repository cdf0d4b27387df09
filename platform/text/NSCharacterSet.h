#pragma once

#include <vector>

#include "objects/NSString.h"

namespace zk {

/// A set of Unicode characters.
class NSCharacterSet {
 public:
  /// White space and line ends of Unicode: U+0009 to U+000D, U+0020, U+0085, U+00A0, U+1680, U+2000 to U+200A, U+2028,
  /// U+2029, U+202F, U+205F and U+3000.
  static const NSCharacterSet& whitespaceAndNewlineCharacterSet();

  bool characterIsMember(char32_t character) const;

  /// How many bytes of `text` from `index` on are characters of the set, taken whole.
  std::size_t prefixLength(std::string_view text, std::size_t index = 0) const;

 protected:
  struct Range {
    char32_t first;
    char32_t last;
  };
  std::vector<Range> ranges_;
};

/// A set that characters can be added to.
class NSMutableCharacterSet final : public NSCharacterSet {
 public:
  NSMutableCharacterSet() = default;
  void addCharactersInString(const Ref<NSString>& characters);
  void formUnionWithCharacterSet(const NSCharacterSet& other);
};

}  // namespace zk
