#include "text/NSCharacterSet.h"

#include <gtest/gtest.h>

#include <set>

namespace zk {
namespace {

const NSCharacterSet& whiteSpace() { return NSCharacterSet::whitespaceAndNewlineCharacterSet(); }

TEST(NSCharacterSet, WhiteSpaceAndLineEndsAreThoseOfUnicode) {
  std::set<char32_t> expected = {0x20, 0x85, 0xA0, 0x1680, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
  for (char32_t character = 0x09; character <= 0x0D; ++character) expected.insert(character);
  for (char32_t character = 0x2000; character <= 0x200A; ++character) expected.insert(character);

  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    ASSERT_EQ(whiteSpace().characterIsMember(character), expected.contains(character))
        << std::hex << static_cast<unsigned>(character);
  }
}

TEST(NSCharacterSet, NumbersBeyondUnicodeAreNotMembers) {
  EXPECT_FALSE(whiteSpace().characterIsMember(0x110000));
  EXPECT_FALSE(whiteSpace().characterIsMember(0xFFFFFFFF));
}

TEST(NSMutableCharacterSet, BeginsEmpty) {
  const NSMutableCharacterSet set;
  for (char32_t character = 0; character < 0x3100; ++character) ASSERT_FALSE(set.characterIsMember(character));
}

TEST(NSMutableCharacterSet, HoldsTheCharactersOfAText) {
  NSMutableCharacterSet set;
  set.addCharactersInString(".\x7F\u00E9\u20AC\U0001F600"_ns);
  for (const char32_t character : {U'.', U'\x7F', U'\u00E9', U'\u20AC', U'\U0001F600'}) {
    EXPECT_TRUE(set.characterIsMember(character));
    EXPECT_FALSE(set.characterIsMember(character - 1));
    EXPECT_FALSE(set.characterIsMember(character + 1));
  }
}

TEST(NSMutableCharacterSet, SkipsBytesThatAreNotUTF8) {
  NSMutableCharacterSet set;
  set.addCharactersInString(NSString::stringWithBytes("\xFF.\xE2\x80"));
  EXPECT_TRUE(set.characterIsMember('.'));
  for (const char32_t character : {0xFFU, 0xE2U, 0x80U, 0x2000U, 0xFFFDU})
    EXPECT_FALSE(set.characterIsMember(character));
}

TEST(NSMutableCharacterSet, AZeroByteIsACharacterLikeAnother) {
  NSMutableCharacterSet set;
  EXPECT_FALSE(set.characterIsMember(0));
  set.addCharactersInString(NSString::stringWithBytes(std::string_view("\0", 1)));
  EXPECT_TRUE(set.characterIsMember(0));
}

TEST(NSMutableCharacterSet, AUnionHoldsTheMembersOfBothAndLeavesTheOtherAsItWas) {
  NSMutableCharacterSet set;
  set.addCharactersInString(".\u20AC"_ns);
  set.formUnionWithCharacterSet(whiteSpace());
  for (char32_t character = 0; character < 0x3100; ++character) {
    ASSERT_EQ(set.characterIsMember(character),
              character == '.' || character == 0x20AC || whiteSpace().characterIsMember(character));
  }
  EXPECT_FALSE(whiteSpace().characterIsMember('.'));
}

TEST(NSMutableCharacterSet, AUnionTakesOverMembersOfEveryKind) {
  NSMutableCharacterSet other;
  other.addCharactersInString("!1@a~\x7F\u0080\u20AC"_ns);
  NSMutableCharacterSet set;
  set.formUnionWithCharacterSet(other);
  for (char32_t character = 0; character < 0x3100; ++character) {
    ASSERT_EQ(set.characterIsMember(character), other.characterIsMember(character));
  }
}

TEST(NSMutableCharacterSet, AUnionWithItselfChangesNothing) {
  NSMutableCharacterSet set;
  set.addCharactersInString(".\u20AC\u20AD"_ns);
  set.formUnionWithCharacterSet(set);
  for (char32_t character = 0; character < 0x3100; ++character) {
    ASSERT_EQ(set.characterIsMember(character), character == '.' || character == 0x20AC || character == 0x20AD);
  }
}

TEST(NSCharacterSet, MeasuresMembersAtTheStartOfATextInBytes) {
  EXPECT_EQ(whiteSpace().prefixLength(""), 0U);
  EXPECT_EQ(whiteSpace().prefixLength("a "), 0U);
  EXPECT_EQ(whiteSpace().prefixLength(" \t\na"), 3U);
  EXPECT_EQ(whiteSpace().prefixLength(" \u00A0\u2003a"), 6U);
  EXPECT_EQ(whiteSpace().prefixLength(" \u2003"), 4U);
  EXPECT_EQ(whiteSpace().prefixLength("a \u2003b", 1), 4U);
  EXPECT_EQ(whiteSpace().prefixLength("a", 1), 0U);
  EXPECT_EQ(whiteSpace().prefixLength("a", 5), 0U);
}

TEST(NSCharacterSet, MeasuresMembersAtTheEndOfATextInBytes) {
  EXPECT_EQ(whiteSpace().suffixLength(""), 0U);
  EXPECT_EQ(whiteSpace().suffixLength(" a"), 0U);
  EXPECT_EQ(whiteSpace().suffixLength("a \t\n"), 3U);
  EXPECT_EQ(whiteSpace().suffixLength("a\u00A0\u2003 "), 6U);
  EXPECT_EQ(whiteSpace().suffixLength("\u2003 "), 4U);
}

TEST(NSCharacterSet, CountsOnlyWholeCharacters) {
  // U+2003 and U+200B share two bytes; U+00A0 ends in a byte whose value would be white space.
  EXPECT_EQ(whiteSpace().prefixLength("\u200B "), 0U);
  EXPECT_EQ(whiteSpace().prefixLength("\xA0 "), 0U);
  EXPECT_EQ(whiteSpace().prefixLength("\xE2\x80 "), 0U);
  EXPECT_EQ(whiteSpace().suffixLength(" \u200B"), 0U);
  EXPECT_EQ(whiteSpace().suffixLength(" \u00E0"), 0U);
  EXPECT_EQ(whiteSpace().suffixLength(" \x85"), 0U);
}

TEST(NSStringTrimming, RemovesMembersAtBothEndsAndNoneInside) {
  const auto trimmed = [](std::string_view text) {
    return stringByTrimmingCharactersInSet(NSString::stringWithBytes(text), whiteSpace())->bytes();
  };
  EXPECT_EQ(trimmed(" \t(4 5)\r\n"), "(4 5)");
  EXPECT_EQ(trimmed("\u2003\u00A0a\u3000b\u2028 "), "a\u3000b");
  EXPECT_EQ(trimmed("a"), "a");
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed(" \u2003 "), "");
  EXPECT_EQ(trimmed("\xFF \xFF"), "\xFF \xFF");
  EXPECT_EQ(trimmed(std::string_view(" \0 ", 3)), std::string_view("\0", 1));
}

TEST(NSStringTrimming, LeavesTheTextItselfAsItWas) {
  const Ref<NSString> text = " a "_ns;
  EXPECT_NE(stringByTrimmingCharactersInSet(text, whiteSpace()), text);
  EXPECT_EQ(text->bytes(), " a ");
}

TEST(NSStringTrimming, UsesTheGivenSet) {
  NSMutableCharacterSet dots;
  dots.addCharactersInString("."_ns);
  dots.addCharactersInString(nullptr);
  EXPECT_EQ(stringByTrimmingCharactersInSet("..a. "_ns, dots)->bytes(), "a. ");
  EXPECT_FALSE(stringByTrimmingCharactersInSet(nullptr, dots));
}

}  // namespace
}  // namespace zk
