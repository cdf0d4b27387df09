#include "text/NSCharacterSet.h"

#include <algorithm>

#include "objects/NeverDestroyed.h"
#include "text/UTF8.h"

namespace zk {

namespace {

constexpr char32_t kAsciiCount = 128;

}  // namespace

const NSCharacterSet& NSCharacterSet::whitespaceAndNewlineCharacterSet() {
  static const NSCharacterSet& set = neverDestroyed<NSCharacterSet>([]() -> NSCharacterSet {
    return {{0x09, 0x0D},     {0x20, 0x20},     {0x85, 0x85},     {0xA0, 0xA0},     {0x1680, 0x1680},
            {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000}};
  }());
  return set;
}

NSCharacterSet::NSCharacterSet(std::initializer_list<Range> ranges) {
  for (const Range range : ranges) add(range);
}

void NSCharacterSet::add(Range range) {
  for (; range.first <= range.last && range.first < kAsciiCount; ++range.first) {
    ascii_[range.first / 64] |= std::uint64_t{1} << range.first % 64;
  }
  if (range.first <= range.last) beyond_.push_back(range);
}

void NSCharacterSet::add(const NSCharacterSet& other) {
  ascii_[0] |= other.ascii_[0];
  ascii_[1] |= other.ascii_[1];
  beyond_.insert(beyond_.end(), other.beyond_.begin(), other.beyond_.end());
}

bool NSCharacterSet::characterIsMember(char32_t character) const {
  if (character < kAsciiCount) return (ascii_[character / 64] >> character % 64 & 1) != 0;
  return std::any_of(beyond_.begin(), beyond_.end(),
                     [character](Range range) { return range.first <= character && character <= range.last; });
}

std::size_t NSCharacterSet::prefixLength(std::string_view text, std::size_t index) const {
  std::size_t length = 0;
  for (auto next = codePointAt(text, index); next && characterIsMember(next->value);
       next = codePointAt(text, index + length)) {
    length += next->length;
  }
  return length;
}

std::size_t NSCharacterSet::suffixLength(std::string_view text) const {
  std::size_t length = 0;
  for (auto last = codePointBefore(text, text.size()); last && characterIsMember(last->value);
       last = codePointBefore(text, text.size() - length)) {
    length += last->length;
  }
  return length;
}

void NSMutableCharacterSet::addCharactersInString(const Ref<NSString>& characters) {
  if (!characters) return;
  const std::string& text = characters->bytes();
  for (std::size_t index = 0; index < text.size();) {
    const auto character = codePointAt(text, index);
    if (character) add({character->value, character->value});
    index += character ? character->length : 1;
  }
}

void NSMutableCharacterSet::formUnionWithCharacterSet(const NSCharacterSet& other) {
  if (&other != this) add(other);
}

Ref<NSString> stringByTrimmingCharactersInSet(const Ref<NSString>& text, const NSCharacterSet& set) {
  if (!text) return nullptr;
  std::string_view kept = text->bytes();
  kept.remove_prefix(set.prefixLength(kept));
  kept.remove_suffix(set.suffixLength(kept));
  return NSString::stringWithBytes(kept);
}

}  // namespace zk
