#include "text/NSScanner.h"

#include <gtest/gtest.h>

#include <limits>

namespace zk {
namespace {

Ref<NSScanner> scannerOf(std::string_view text) {
  return NSScanner::scannerWithString(NSString::stringWithBytes(text));
}

TEST(NSScanner, AnAbsentTextHasNoScanner) { EXPECT_FALSE(NSScanner::scannerWithString(nullptr)); }

TEST(NSScanner, BeginsAtTheStartAndIgnoresCase) {
  const Ref<NSScanner> scanner = scannerOf("1");
  EXPECT_EQ(scanner->scanLocation(), 0U);
  EXPECT_FALSE(scanner->caseSensitive());
  scanner->setCaseSensitive(true);
  EXPECT_TRUE(scanner->caseSensitive());
}

TEST(NSScanner, ReadsOneNumberAfterTheOther) {
  const Ref<NSScanner> scanner = scannerOf("12 -34\n+56");
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 12);
  EXPECT_EQ(scanner->scanLocation(), 2U);
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, -34);
  EXPECT_EQ(scanner->scanLocation(), 6U);
  std::int64_t wide = 0;
  EXPECT_TRUE(scanner->scanLongLong(wide));
  EXPECT_EQ(wide, 56);
  EXPECT_EQ(scanner->scanLocation(), 10U);
  EXPECT_FALSE(scanner->scanInt(value));
}

TEST(NSScanner, StopsAfterTheDigits) {
  const Ref<NSScanner> scanner = scannerOf("12abc");
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 12);
  EXPECT_EQ(scanner->scanLocation(), 2U);
  EXPECT_FALSE(scanner->isAtEnd());
}

TEST(NSScanner, OnlyDecimalDigitsCount) {
  std::int32_t value = 0;
  const Ref<NSScanner> scanner = scannerOf("0x1F");
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 0);
  EXPECT_EQ(scanner->scanLocation(), 1U);
  EXPECT_TRUE(scannerOf("010")->scanInt(value));
  EXPECT_EQ(value, 10);
}

TEST(NSScanner, AFailedScanChangesNeitherValueNorPosition) {
  for (const char* text : {"", "  ", "x", " x", "-", " + ", "+-1", "--1", "- 1", " \u2003(4)", "\xFF\x31"}) {
    const Ref<NSScanner> scanner = scannerOf(text);
    std::int32_t value = 77;
    std::int64_t wide = 88;
    EXPECT_FALSE(scanner->scanInt(value)) << text;
    EXPECT_FALSE(scanner->scanLongLong(wide)) << text;
    EXPECT_EQ(value, 77);
    EXPECT_EQ(wide, 88);
    EXPECT_EQ(scanner->scanLocation(), 0U) << text;
  }
}

TEST(NSScanner, AFailedScanLeavesThePositionBeforeWhatItSkipped) {
  const Ref<NSScanner> scanner = scannerOf("1 \t(4)");
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_FALSE(scanner->scanInt(value));
  EXPECT_EQ(scanner->scanLocation(), 1U);
}

TEST(NSScanner, ANumberOutOfRangeReadsAsTheNearerEnd) {
  struct Row {
    const char* text;
    std::int32_t narrow;
    std::int64_t wide;
  };
  constexpr auto kMin32 = std::numeric_limits<std::int32_t>::min();
  constexpr auto kMax32 = std::numeric_limits<std::int32_t>::max();
  constexpr auto kMin64 = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMax64 = std::numeric_limits<std::int64_t>::max();
  const Row rows[] = {{"2147483647", kMax32, kMax32},
                      {"2147483648", kMax32, 2'147'483'648},
                      {"-2147483648", kMin32, kMin32},
                      {"-2147483649", kMin32, -2'147'483'649},
                      {"4294967297", kMax32, 4'294'967'297},
                      {"9223372036854775807", kMax32, kMax64},
                      {"9223372036854775808", kMax32, kMax64},
                      {"-9223372036854775808", kMin32, kMin64},
                      {"-9223372036854775809", kMin32, kMin64},
                      {"18446744073709551615", kMax32, kMax64},
                      {"18446744073709551616", kMax32, kMax64},
                      {"-18446744073709551616", kMin32, kMin64},
                      {"99999999999999999999999999999999", kMax32, kMax64},
                      {"-0", 0, 0},
                      {"000000000000000000000000000000012", 12, 12}};
  for (const Row& row : rows) {
    std::int32_t narrow = 0;
    std::int64_t wide = 0;
    EXPECT_TRUE(scannerOf(row.text)->scanInt(narrow)) << row.text;
    EXPECT_TRUE(scannerOf(row.text)->scanLongLong(wide)) << row.text;
    EXPECT_EQ(narrow, row.narrow) << row.text;
    EXPECT_EQ(wide, row.wide) << row.text;
  }
}

TEST(NSScanner, ANumberOutOfRangeIsReadToItsLastDigit) {
  const Ref<NSScanner> scanner = scannerOf("99999999999999999999 7");
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(scanner->scanLocation(), 20U);
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 7);
}

TEST(NSScanner, SkipsUnicodeWhiteSpaceByWholeCharacters) {
  const Ref<NSScanner> scanner = scannerOf("\u2003\u00A01\u3000");
  std::int32_t value = 0;
  EXPECT_FALSE(scanner->isAtEnd());
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 1);
  EXPECT_EQ(scanner->scanLocation(), 6U);
  EXPECT_TRUE(scanner->isAtEnd());
}

TEST(NSScanner, SkipsTheGivenSetInsteadOfWhiteSpace) {
  NSMutableCharacterSet dots;
  dots.addCharactersInString("."_ns);
  const Ref<NSScanner> scanner = scannerOf("..1.. 2");
  scanner->setCharactersToBeSkipped(dots);
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(scanner->scanInt(value)) << "white space is skipped no longer";
  EXPECT_EQ(scanner->scanLocation(), 3U);
}

TEST(NSScanner, IsAtEndWhenOnlySkippedCharactersRemain) {
  EXPECT_TRUE(scannerOf("")->isAtEnd());
  EXPECT_TRUE(scannerOf(" \n")->isAtEnd());
  EXPECT_FALSE(scannerOf(" x")->isAtEnd());
  EXPECT_FALSE(scannerOf(" \xE2\x80")->isAtEnd());
  const Ref<NSScanner> scanner = scannerOf(" \n");
  EXPECT_TRUE(scanner->isAtEnd());
  EXPECT_EQ(scanner->scanLocation(), 0U) << "asking moves nothing";
}

TEST(NSScanner, AZeroByteEndsANumberAndNotTheText) {
  const Ref<NSScanner> scanner = scannerOf(std::string_view("1\0002", 3));
  std::int32_t value = 0;
  EXPECT_TRUE(scanner->scanInt(value));
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(scanner->isAtEnd());
  EXPECT_FALSE(scanner->scanInt(value));
}

}  // namespace
}  // namespace zk
