#include "text/UTF8.h"

#include <gtest/gtest.h>

#include <string>

namespace zk {
namespace {

/// The UTF-8 of a code point, by the bit patterns of its length; surrogates and values beyond Unicode included.
std::string encoded(char32_t value) {
  const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
  const auto continuation = [&](int shift) { return byte(0x80 | (value >> shift & 0x3F)); };
  if (value < 0x80) return {byte(value)};
  if (value < 0x800) return {byte(0xC0 | value >> 6), continuation(0)};
  if (value < 0x10000) return {byte(0xE0 | value >> 12), continuation(6), continuation(0)};
  return {byte(0xF0 | value >> 18), continuation(12), continuation(6), continuation(0)};
}

TEST(UTF8, ReadsEveryCodePointForwardsAndBackwards) {
  for (char32_t value = 0; value <= 0x10FFFF; ++value) {
    if (value == 0xD800) value = 0xE000;
    const std::string bytes = encoded(value);
    const std::string text = "a" + bytes + "b";
    const auto forwards = codePointAt(text, 1);
    const auto backwards = codePointBefore(text, 1 + bytes.size());
    ASSERT_TRUE(forwards && backwards) << std::hex << static_cast<unsigned>(value);
    ASSERT_EQ(forwards->value, value);
    ASSERT_EQ(forwards->length, bytes.size());
    ASSERT_EQ(backwards->value, value);
    ASSERT_EQ(backwards->length, bytes.size());
  }
}

TEST(UTF8, FindsNothingBeyondTheEndsOfAText) {
  EXPECT_FALSE(codePointAt("", 0));
  EXPECT_FALSE(codePointAt("a", 1));
  EXPECT_FALSE(codePointAt("a", 2));
  EXPECT_FALSE(codePointBefore("", 0));
  EXPECT_FALSE(codePointBefore("a", 0));
}

TEST(UTF8, RefusesWhatIsNotUTF8) {
  using namespace std::string_literals;
  for (const std::string& bytes : {
           "\x80"s,
           "\xBF"s,  // a continuation byte alone
           "\xC2"s,
           "\xE2\x80"s,
           "\xF0\x90\x80"s,  // a continuation byte missing at the end
           "\xC2 "s,
           "\xE2 \x80"s,
           "\xE2\x80 "s,  // and before another character
           "\xC0\x80"s,
           "\xC1\xBF"s,
           "\xE0\x9F\xBF"s,
           "\xF0\x8F\xBF\xBF"s,  // longer than needed
           "\xED\xA0\x80"s,
           "\xED\xBF\xBF"s,  // surrogates
           "\xF4\x90\x80\x80"s,
           "\xF5\x80\x80\x80"s,
           "\xF8\x90\x80\x80"s,
           "\xFC\x90\x80\x80"s,
           "\xFE"s,
           "\xFF"s,  // beyond U+10FFFF
       }) {
    EXPECT_FALSE(codePointAt(bytes, 0)) << testing::PrintToString(bytes);
  }
}

TEST(UTF8, RefusesWhatIsNotUTF8BeforeAnEnd) {
  EXPECT_FALSE(codePointBefore("a\x80", 2));
  EXPECT_FALSE(codePointBefore("\xC2", 1));
  EXPECT_FALSE(codePointBefore("\xE2\x80\x83", 2)) << "a code point is cut by the end";
  EXPECT_FALSE(codePointBefore("\xC2\xA0\x80", 3)) << "a whole code point and one byte too many";
  EXPECT_FALSE(codePointBefore("\x80\x80\x80\x80\x80", 5));
}

TEST(UTF8, DoesNotReadBeyondTheGivenText) {
  constexpr std::string_view bytes = "\U0001F600";
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(codePointAt(bytes.substr(0, length), 0)) << length;
    EXPECT_FALSE(codePointBefore(bytes, length)) << length;
  }
}

TEST(UTF8, DoesNotReadBeyondTheGivenEnd) {
  const auto found = codePointBefore("a\u2003", 1);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->value, U'a');
}

}  // namespace
}  // namespace zk
