#include "text/Formatting.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <random>

#include "objects/NSArray.h"
#include "objects/NSNull.h"
#include "objects/NSNumber.h"
#include "objects/NSURL.h"
#include "support/DecimalComma.h"

namespace zk {
namespace {

template <class... Arguments>
std::string formatted(std::string_view format, const Arguments&... arguments) {
  return stringWithFormat(NSString::stringWithBytes(format), arguments...)->bytes();
}

/// What the C library prints.
template <class... Arguments>
std::string printed(const char* format, Arguments... arguments) {
  std::string text(4096, '\0');
  const int count = std::snprintf(text.data(), text.size(), format, arguments...);
  EXPECT_GE(count, 0) << format;
  text.resize(static_cast<std::size_t>(count));
  return text;
}

TEST(Formatting, CopiesTextOutsideConversions) {
  EXPECT_EQ(formatted(""), "");
  EXPECT_EQ(formatted("plain text, \u2003, \xFF"), "plain text, \u2003, \xFF");
  EXPECT_EQ(formatted(std::string_view("a\0b", 3)), std::string_view("a\0b", 3));
}

TEST(Formatting, FillsConversionsInTheOrderOfTheArguments) {
  EXPECT_EQ(formatted("%u.%u.%u (%u)", 1U, 2U, 3U, 4U), "1.2.3 (4)");
  EXPECT_EQ(formatted("%@: %s, %d%%", "a"_ns, "b", -3), "a: b, -3%");
  EXPECT_EQ(formatted("%d%d", 1, 2), "12");
}

TEST(Formatting, TakesConstantsAsFormatAndAsArgument) {
  constexpr NSStringConstant kText = "a text: %@"_constant;
  EXPECT_EQ(stringWithFormat(kText, kText)->bytes(), "a text: a text: %@");
}

TEST(Formatting, GivesAnEmptyTextForAnAbsentFormat) { EXPECT_EQ(stringWithFormat(nullptr, 1)->bytes(), ""); }

TEST(Formatting, PrintsIntegersOfEverySize) {
  EXPECT_EQ(formatted("%d %i %u", -5, 7, 9U), "-5 7 9");
  EXPECT_EQ(formatted("%hhd %hd %ld %lld", 1, 2, 3L, 4LL), "1 2 3 4");
  EXPECT_EQ(formatted("%qd %jd %zd %td", 1, 2, 3, 4), "1 2 3 4");
  EXPECT_EQ(formatted("%lld", std::numeric_limits<long long>::min()), "-9223372036854775808");
  EXPECT_EQ(formatted("%llu", std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
  EXPECT_EQ(formatted("%ld", std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  for (const char* format : {"%ld", "%lld", "%qd", "%jd", "%zd", "%td"}) {
    EXPECT_EQ(formatted(format, -9'000'000'000'000'000'000), "-9000000000000000000") << format;
  }
  EXPECT_EQ(formatted("%u", std::uint16_t{65535}), "65535");
  EXPECT_EQ(formatted("%d", true), "1");
}

TEST(Formatting, CutsAnIntegerToTheConversionsSize) {
  EXPECT_EQ(formatted("%d", 0x1'0000'0005LL), "5");
  EXPECT_EQ(formatted("%u", -1), "4294967295");
  EXPECT_EQ(formatted("%d", 0xFFFFFFFFU), "-1");
  EXPECT_EQ(formatted("%hd", 65'535), "-1");
  EXPECT_EQ(formatted("%hu", 65'536 + 7), "7");
  EXPECT_EQ(formatted("%hhd", 255), "-1");
  EXPECT_EQ(formatted("%hhu", -1), "255");
  EXPECT_EQ(formatted("%llu", -1), "18446744073709551615");
  EXPECT_EQ(formatted("%lld", std::numeric_limits<unsigned long long>::max()), "-1");
  EXPECT_EQ(formatted("%x", -1), "ffffffff");
  EXPECT_EQ(formatted("%hhX", -1), "FF");
}

TEST(Formatting, PrintsOtherBases) {
  EXPECT_EQ(formatted("%x %X %o", 0xBEEF, 0xBEEF, 8), "beef BEEF 10");
  EXPECT_EQ(formatted("%#x %#o", 255, 8), "0xff 010");
  EXPECT_EQ(formatted("%lx", 0xFFFF'FFFF'FFFFULL), "ffffffffffff");
}

TEST(Formatting, KnowsFlagsWidthsAndPrecisions) {
  EXPECT_EQ(formatted("[%5d] [%-5d] [%05d] [%+d] [% d]", 42, 42, 42, 42, 42), "[   42] [42   ] [00042] [+42] [ 42]");
  EXPECT_EQ(formatted("[%.3d] [%8.3d] [%-+8.3d]", 7, 7, 7), "[007] [     007] [+007    ]");
  EXPECT_EQ(formatted("[%5s] [%-5s] [%.2s] [%.s]", "abc", "abc", "abc", "abc"), "[  abc] [abc  ] [ab] []");
  EXPECT_EQ(formatted("[%08.3f] [%.0f]", 3.14159, 2.5), "[0003.142] [2]");
  EXPECT_EQ(formatted("[%3c]", 'x'), "[  x]");
}

TEST(Formatting, PrintsReals) {
  EXPECT_EQ(formatted("%f %e %g %E %G %F", 1.5, 1.5, 1.5, 1.5, 1e-10, 1.5),
            "1.500000 1.500000e+00 1.5 1.500000E+00 1E-10 1.500000");
  EXPECT_EQ(formatted("%a %A", 1.0, 1.0), "0x1p+0 0X1P+0");
  EXPECT_EQ(formatted("%.1f", 0.25F), "0.2");
  EXPECT_EQ(formatted("%f", -std::numeric_limits<double>::infinity()), "-inf");
}

TEST(Formatting, PrintsADecimalPointEvenIfTheHostHasADecimalComma) {
  const test::DecimalComma scope;
  if (!test::DecimalComma::isThere()) GTEST_SKIP() << "no locale with a decimal comma is installed";
  EXPECT_EQ(formatted("%.1f", 0.5), "0.5");
}

TEST(Formatting, PrintsCharacters) {
  EXPECT_EQ(formatted("%c%c", 'a', 98), "ab");
  EXPECT_EQ(formatted("%c", 0), std::string_view("\0", 1));
}

TEST(Formatting, PrintsCStrings) {
  const char* const none = nullptr;
  char own[] = "own";
  EXPECT_EQ(formatted("%s %s %s", "literal", none, own), "literal (null) own");
}

TEST(Formatting, PrintsAddressesAsTheSystemDoes) {
  const int object = 0;
  const void* const address = &object;
  EXPECT_EQ(formatted("%p", address), printed("%p", address));
  EXPECT_EQ(formatted("[%20p]", address), printed("[%20p]", address));
}

TEST(Formatting, PrintsObjectsByTheirDescriptions) {
  const Ref<NSString> none = nullptr;
  EXPECT_EQ(formatted("%@ %@ %@ %@", "a"_ns, NSNumber::numberWithInt(-3), none, nullptr), "a -3 (null) (null)");
  EXPECT_EQ(formatted("%@", NSURL::fileURLWithPath("/a/b"_ns)), "/a/b");
  EXPECT_EQ(formatted("%@", NSString::stringWithBytes(std::string_view("a\0%d", 4))), std::string_view("a\0%d", 4));
}

TEST(Formatting, LeavesConversionsInArgumentsAlone) {
  EXPECT_EQ(formatted("%@ %s %d", "%d%@"_ns, "%s%n", 1), "%d%@ %s%n 1");
}

TEST(Formatting, PercentSignsNeedNoArgument) {
  EXPECT_EQ(formatted("100%%"), "100%");
  EXPECT_EQ(formatted("%%%d%%", 5), "%5%");
  EXPECT_EQ(formatted("%5%|"), "%|");
}

TEST(Formatting, LeavesAConversionWithoutAnArgumentAsItIs) {
  EXPECT_EQ(formatted("%d"), "%d");
  EXPECT_EQ(formatted("%d and %-5.2lld, %@.", 1), "1 and %-5.2lld, %@.");
}

TEST(Formatting, LeavesAConversionOfAnotherKindAsItIsAndUsesUpItsArgument) {
  EXPECT_EQ(formatted("%s %@ %p %f|%d", 1, 2, 3, 4, 5), "%s %@ %p %f|5");
  EXPECT_EQ(formatted("%d %s|%u", "text", 1.5, 3), "%d %s|3");
  EXPECT_EQ(formatted("%d %f %s %p %@", "a"_ns, "a"_ns, "a"_ns, "a"_ns, 1.0), "%d %f %s %p %@");
  EXPECT_EQ(formatted("%g %c %x", 3, 1.0, 1.0), "%g %c %x");
}

TEST(Formatting, LeavesWhatItDoesNotKnowAsItIs) {
  EXPECT_EQ(formatted("%y|%d", 1, 2), "%y|2");
  EXPECT_EQ(formatted("%*d", 5), "%*d");
  EXPECT_EQ(formatted("%1$d", 5), "%1$d");
  EXPECT_EQ(formatted("%n", 5), "%n");
  EXPECT_EQ(formatted("%Lf", 5.0), "%Lf");
  EXPECT_EQ(formatted("%hhhd %qqd %zzd", 5, 5, 5), "%hhhd %qqd %zzd");
  EXPECT_EQ(formatted("%5-d", 5), "%5-d");
}

TEST(Formatting, LeavesAnUnfinishedConversionAsItIs) {
  EXPECT_EQ(formatted("50%", 1), "50%");
  EXPECT_EQ(formatted("%5", 1), "%5");
  EXPECT_EQ(formatted("%5.", 1), "%5.");
  EXPECT_EQ(formatted("%5.3", 1), "%5.3");
  EXPECT_EQ(formatted("%-ll", 1), "%-ll");
  EXPECT_EQ(formatted("%d%", 1), "1%");
}

TEST(Formatting, LeavesAConversionWithAHugeWidthAsItIs) {
  const void* const address = nullptr;
  const std::string format =
      "%99999999999d %99999999999u %99999999999c %99999999999f %99999999999s %99999999999p %.99999999999x";
  EXPECT_EQ(formatted(format + "|%d", 1, 2U, 'c', 4.0, "s", address, 7, 8), format + "|8");
}

TEST(Formatting, WidensConversionsOfEveryKind) {
  const void* const address = nullptr;
  EXPECT_EQ(formatted("%100d%100u%100c%100f%100s%100p%100x", -1, 2U, 'c', 4.0, "s", address, 7),
            printed("%100d%100u%100c%100f%100s%100p%100x", -1, 2U, 'c', 4.0, "s", address, 7));
}

TEST(Formatting, GrowsWithWhatIsPrinted) {
  const std::string longText(100'000, 'x');
  EXPECT_EQ(formatted("%s|%d", longText.c_str(), 1), longText + "|1");
  EXPECT_EQ(formatted("%@|%d", NSString::stringWithBytes(longText), 1), longText + "|1");
  EXPECT_EQ(formatted("%1000d|", 1), std::string(999, ' ') + "1|");
  // Around the length up to which printing allocates no memory.
  for (int width = 60; width <= 68; ++width) {
    const auto length = static_cast<std::size_t>(width);
    EXPECT_EQ(formatted("<%" + std::to_string(width) + "d>", 7), "<" + std::string(length - 1, ' ') + "7>");
  }
}

TEST(Formatting, PrintsEveryIntegerAsTheCLibraryDoes) {
  std::mt19937_64 random(7);
  for (int count = 0; count < 2000; ++count) {
    const std::uint64_t bits = random() >> random() % 64;
    const auto wide = static_cast<long long>(bits);
    EXPECT_EQ(formatted("%lld", wide), printed("%lld", wide));
    EXPECT_EQ(formatted("%llu", bits), printed("%llu", static_cast<unsigned long long>(bits)));
    EXPECT_EQ(formatted("%d", wide), printed("%d", static_cast<int>(wide)));
    EXPECT_EQ(formatted("%hu", wide), printed("%hu", static_cast<unsigned>(bits & 0xFFFF)));
    EXPECT_EQ(formatted("%-12lx|", bits), printed("%-12lx|", static_cast<unsigned long>(bits)));
    EXPECT_EQ(formatted("%+21.4lld|", wide), printed("%+21.4lld|", wide));
  }
}

TEST(Formatting, TakesArgumentsAsAList) {
  const FormatArgument arguments[] = {1, "b", 2.5};
  EXPECT_EQ(stringWithArguments("%d %s %.1f"_ns, arguments)->bytes(), "1 b 2.5");
}

}  // namespace
}  // namespace zk
