#include <gtest/gtest.h>

#include <limits>

#include "OtherObjects.h"
#include "ZKVersion.h"
#include "objects/NSDate.h"
#include "objects/NSNull.h"

namespace zk {
namespace {

using test::CountingObject;
using test::PlainObject;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

/// What a text reads as, in full form.
std::string parsed(std::string_view text) {
  const Ref<ZKVersion> version = ZKVersion::versionWithString(NSString::stringWithBytes(text));
  return version ? version->descriptionFull()->bytes() : "absent";
}

std::uint64_t converted(std::string_view text) {
  const Ref<NSNumber> number = ZKVersion::numberWithUnsignedLongLongFromNSObject(NSString::stringWithBytes(text));
  EXPECT_TRUE(number) << text;
  return number ? *number->unsignedLongLongValue() : 0;
}

TEST(ZKVersionParsing, ReadsFourNumbers) {
  EXPECT_EQ(parsed("1.2.3.4"), "1.2.3.4");
  EXPECT_EQ(ZKVersion::versionWithString("1.2.3.4"_ns)->unsignedLongLong(), 102'030'004U);
}

TEST(ZKVersionParsing, ReadsASpinInBrackets) {
  EXPECT_EQ(parsed("1.0.1 (13)"), "1.0.1.13");
  EXPECT_EQ(parsed("1.2.3(4)"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3 ( 4 )"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3\t(\n4\r)\n"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3 (+4)"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3 (0)"), "1.2.3.0");
}

TEST(ZKVersionParsing, AMicroMayBeLeftOutBeforeASpinInBrackets) { EXPECT_EQ(parsed("1.2 (5)"), "1.2.0.5"); }

TEST(ZKVersionParsing, AnyRunOfDotsAndWhiteSpaceSeparates) {
  EXPECT_EQ(parsed("1 2 3 4"), "1.2.3.4");
  EXPECT_EQ(parsed("1..2...3.4"), "1.2.3.4");
  EXPECT_EQ(parsed("...1.2.3.4"), "1.2.3.4");
  EXPECT_EQ(parsed(" \t\r\n1 . 2\n3\r\n4 . "), "1.2.3.4");
}

TEST(ZKVersionParsing, UnicodeWhiteSpaceSeparatesAsWholeCharacters) {
  EXPECT_EQ(parsed("1\u20032\u00A03\u30004"), "1.2.3.4");
  EXPECT_EQ(parsed("\u20281.2.3\u2003(\u20034\u00A0)\u3000"), "1.2.3.4");
  // U+200B is not white space, though it shares its first two bytes with some.
  EXPECT_EQ(parsed("1\u200B2.3.4"), "absent");
  EXPECT_EQ(parsed("1.2.3\u200B(4)"), "absent");
}

TEST(ZKVersionParsing, BytesThatAreNotUTF8AreNotSeparators) {
  EXPECT_EQ(parsed("1\xE2\x80 2.3.4"), "absent");
  EXPECT_EQ(parsed("1.2.3 (4)\xC2"), "absent");
  EXPECT_EQ(parsed("\xA0"
                   "1.2.3.4"),
            "absent");
}

TEST(ZKVersionParsing, WhatFollowsAFourthNumberIsIgnored) {
  EXPECT_EQ(parsed("1.2.3.4.5"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3.4 (9)"), "1.2.3.4");
  EXPECT_EQ(parsed("1.2.3.4beta"), "1.2.3.4");
  EXPECT_EQ(parsed(std::string_view("1.2.3.4\0(9", 10)), "1.2.3.4");
}

TEST(ZKVersionParsing, PartsAreClampedToWhatAVersionHolds) {
  EXPECT_EQ(parsed("150.2.3.4"), "99.2.3.4");
  EXPECT_EQ(parsed("1.100.65534.10000"), "1.99.99.9999");
  EXPECT_EQ(parsed("65534.0.0.0"), "99.0.0.0");
  EXPECT_EQ(parsed("1.2.3 (65534)"), "1.2.3.9999");
}

TEST(ZKVersionParsing, AnOutOfRangeMicroBeforeASpinGroupIsZero) {
  EXPECT_EQ(parsed("1.2.70000 (5)"), "1.2.0.5");
  EXPECT_EQ(parsed("1.2.65535 (5)"), "1.2.0.5");
  EXPECT_EQ(parsed("1.2.-3 (5)"), "1.2.0.5");
  EXPECT_EQ(parsed("1.2.99999999999999999999 (5)"), "1.2.0.5");
}

TEST(ZKVersionParsing, AnOutOfRangeSpinMayBeFollowedByAGroup) {
  EXPECT_EQ(parsed("1.2.3.99999 (7)"), "1.2.3.7");
  EXPECT_EQ(parsed("1.2.3.65535 (7)"), "1.2.3.7");
  EXPECT_EQ(parsed("1.2.3.99999"), "absent");
  EXPECT_EQ(parsed("1.2.3.65535"), "absent");
  EXPECT_EQ(parsed("1.2.3.-1"), "absent");
}

TEST(ZKVersionParsing, AnOutOfRangeMinorIsRefused) {
  EXPECT_EQ(parsed("1.70000 (5)"), "absent");
  EXPECT_EQ(parsed("1.-2.3.4"), "absent");
}

TEST(ZKVersionParsing, ASingleNumberIsAPackedValue) {
  EXPECT_EQ(parsed("100010013"), "1.0.1.13");
  EXPECT_EQ(parsed("100010013."), "1.0.1.13");
  EXPECT_EQ(parsed("100010013 "), "1.0.1.13");
  EXPECT_EQ(parsed(" .+100010013. ."), "1.0.1.13");
  EXPECT_EQ(parsed("000100010013"), "1.0.1.13");
  EXPECT_EQ(parsed("1000000"), "0.1.0.0");
  EXPECT_EQ(parsed("999999"), "absent");
  EXPECT_EQ(parsed("0"), "absent");
}

TEST(ZKVersionParsing, ANegativeSingleNumberReadsAsUnsigned) {
  const Ref<ZKVersion> version = ZKVersion::versionWithString("-5"_ns);
  ASSERT_TRUE(version);
  EXPECT_EQ(version->unsignedLongLong(), 18'446'744'073'709'551'611U);
}

TEST(ZKVersionParsing, TheEndsOfTheFirstNumbersRangeAreRefused) {
  EXPECT_EQ(parsed("9223372036854775807"), "absent");
  EXPECT_EQ(parsed("-9223372036854775808"), "absent");
  EXPECT_EQ(parsed("9223372036854775808"), "absent");
  EXPECT_EQ(parsed("-99999999999999999999"), "absent");
  ASSERT_TRUE(ZKVersion::versionWithString("9223372036854775806"_ns));
  EXPECT_EQ(ZKVersion::versionWithString("9223372036854775806"_ns)->unsignedLongLong(), 9'223'372'036'854'775'806U);
  ASSERT_TRUE(ZKVersion::versionWithString("-9223372036854775807"_ns));
  EXPECT_EQ(ZKVersion::versionWithString("-9223372036854775807"_ns)->unsignedLongLong(), 9'223'372'036'854'775'809U);
}

TEST(ZKVersionParsing, TheFirstOfSeveralNumbersHasToBeAComponent) {
  EXPECT_EQ(parsed("65535.0.0.0"), "absent");
  EXPECT_EQ(parsed("-1.2.3.4"), "absent");
  EXPECT_EQ(parsed("9223372036854775807.2.3.4"), "absent");
  EXPECT_EQ(parsed("4294967297.2.3.4"), "absent");
}

TEST(ZKVersionParsing, RefusesATextWithoutASpin) {
  EXPECT_EQ(parsed("1.2.3"), "absent");
  EXPECT_EQ(parsed("1.2"), "absent");
  EXPECT_EQ(parsed("1.2.3."), "absent");
}

TEST(ZKVersionParsing, RefusesATextWithoutAMinor) { EXPECT_EQ(parsed("1 (5)"), "absent"); }

TEST(ZKVersionParsing, RefusesAnInvalidVersion) {
  EXPECT_EQ(parsed("0.0.1.2"), "absent");
  EXPECT_EQ(parsed("0.0 (5)"), "absent");
  EXPECT_EQ(parsed("0.1.0.0"), "0.1.0.0");
}

TEST(ZKVersionParsing, RefusesAnythingButASpinInTheBrackets) {
  for (const char* text : {"1.2.3 (4.5)",    "1.2.3 (x)",
                           "1.2.3 (4) beta", "1.2.3 ()",
                           "1.2.3 ( )",      "1.2.3 (4",
                           "1.2 4)",         "1.2.3 (",
                           "1.2.3 )",        "1.2.3 ((4)",
                           "1.2.3 (4))",     "1.2.3 (-1)",
                           "1.2.3 (65535)",  "1.2.3 (99999999999)",
                           "1.2.3 (.4)",     "1.2.3 (4.)",
                           "1.2.3 (4) (5)",  "1.2.3 [4]",
                           "1.2.3 [4)",      "1.2.3 (4]",
                           "1.2.3 x4)",      "1.2.3 (+)",
                           "1.2.3 beta",     "1.2 x",
                           "1.2.3 (4 5)"}) {
    EXPECT_EQ(parsed(text), "absent") << text;
  }
}

TEST(ZKVersionParsing, ADotBeforeTheBracketsIsRefused) {
  EXPECT_EQ(parsed("1.2.3.(4)"), "absent");
  EXPECT_EQ(parsed("1.2.3 .(4)"), "absent");
  EXPECT_EQ(parsed("1.2.(4)"), "absent");
}

TEST(ZKVersionParsing, RefusesATextWithoutANumberAtItsStart) {
  EXPECT_EQ(parsed(""), "absent");
  EXPECT_EQ(parsed("..."), "absent");
  EXPECT_EQ(parsed(" \n"), "absent");
  EXPECT_EQ(parsed("v1.2.3.4"), "absent");
  EXPECT_EQ(parsed("(4)"), "absent");
  EXPECT_EQ(parsed("-"), "absent");
  EXPECT_EQ(parsed("+-1.2.3.4"), "absent");
  EXPECT_EQ(parsed("- 1.2.3.4"), "absent");
}

TEST(ZKVersionParsing, AnAbsentTextGivesNoVersion) { EXPECT_FALSE(ZKVersion::versionWithString(nullptr)); }

TEST(ZKVersionParsing, AZeroByteEndsANumberAndNotTheText) {
  EXPECT_EQ(parsed(std::string_view("1.2.3\0(4)", 9)), "absent");
  EXPECT_EQ(parsed(std::string_view("100010013\0", 10)), "absent");
}

TEST(ZKVersionParsing, ApplicationVersionIsAConstant) {
  EXPECT_EQ(ZKVersion::applicationVersionUnsignedLongLong(), 100'010'013U);
  EXPECT_EQ(ZKVersion::applicationVersionNumber()->unsignedLongLongValue(), 100'010'013U);
  const Ref<ZKVersion> version = ZKVersion::versionWithApplication();
  EXPECT_EQ(version->unsignedLongLong(), 100'010'013U);
  EXPECT_EQ(version->description()->bytes(), "1.0.1 (13)");
  EXPECT_NE(version, ZKVersion::versionWithApplication());
}

TEST(ZKVersionConversion, AbsentStaysAbsent) {
  EXPECT_FALSE(ZKVersion::numberWithUnsignedLongLongFromNSObject(nullptr));
}

TEST(ZKVersionConversion, ANumberObjectIsReturnedItself) {
  class DerivedNumber final : public NSNumber {
   public:
    using NSNumber::NSNumber;
  };
  for (const Ref<NSNumber>& number : {NSNumber::numberWithUnsignedLongLong(5), NSNumber::numberWithDouble(-1.5),
                                      Ref<NSNumber>(std::make_shared<DerivedNumber>(std::int64_t{7}))}) {
    EXPECT_EQ(ZKVersion::numberWithUnsignedLongLongFromNSObject(number), number);
  }
}

TEST(ZKVersionConversion, LeadingZerosAreSkippedBeforeTheBaseIsDetermined) {
  EXPECT_EQ(converted("010"), 10U);
  EXPECT_EQ(converted("0010"), 10U);
  EXPECT_EQ(converted("0x1F"), 0U);
  EXPECT_EQ(converted("0x10"), 0U);
  EXPECT_EQ(converted("00x10"), 0U);
  EXPECT_EQ(converted("0"), 0U);
  EXPECT_EQ(converted("000"), 0U);
  EXPECT_EQ(converted("0 7"), 7U);
}

TEST(ZKVersionConversion, APrefixCountsAfterWhiteSpaceOrASign) {
  EXPECT_EQ(converted(" 0x1F"), 31U);
  EXPECT_EQ(converted(" 0X1f"), 31U);
  EXPECT_EQ(converted("+0x1F"), 31U);
  EXPECT_EQ(converted(" -0x1"), kLargest);
  EXPECT_EQ(converted(" 010"), 8U);
  EXPECT_EQ(converted(" 08"), 0U);
  EXPECT_EQ(converted("\t\n\v\f\r 010"), 8U);
  EXPECT_EQ(converted("0 010"), 8U);
  EXPECT_EQ(converted(" 0x"), 0U);
  EXPECT_EQ(converted(" 0xg"), 0U);
}

TEST(ZKVersionConversion, NoOtherPrefixCounts) {
  EXPECT_EQ(converted(" 0b11"), 0U);
  EXPECT_EQ(converted("+0B11"), 0U);
  EXPECT_EQ(converted(" 0o17"), 0U);
}

TEST(ZKVersionConversion, ATextIsReadUpToWhatDoesNotFit) {
  EXPECT_EQ(converted("12abc"), 12U);
  EXPECT_EQ(converted(" 12 "), 12U);
  EXPECT_EQ(converted("1.2.3.4"), 1U);
  EXPECT_EQ(converted(std::string_view("12\0"
                                       "34",
                                       5)),
            12U);
}

TEST(ZKVersionConversion, ATextWithoutDigitsIsZeroAndNotAbsent) {
  EXPECT_EQ(converted(""), 0U);
  EXPECT_EQ(converted("abc"), 0U);
  EXPECT_EQ(converted("-"), 0U);
  EXPECT_EQ(converted(" "), 0U);
}

TEST(ZKVersionConversion, AMinusSignNegatesModuloTwoToTheSixtyFourth) {
  EXPECT_EQ(converted("-5"), 18'446'744'073'709'551'611U);
  EXPECT_EQ(converted("0-5"), 18'446'744'073'709'551'611U);
}

TEST(ZKVersionConversion, ATextBeyondTheRangeIsTheLargestValue) {
  EXPECT_EQ(converted("18446744073709551615"), kLargest);
  EXPECT_EQ(converted("18446744073709551616"), kLargest);
  EXPECT_EQ(converted("99999999999999999999999"), kLargest);
}

TEST(ZKVersionConversion, AnotherObjectIsAskedForItsNumber) {
  const Ref<NSNumber> number =
      ZKVersion::numberWithUnsignedLongLongFromNSObject(std::make_shared<CountingObject>(kLargest));
  ASSERT_TRUE(number);
  EXPECT_EQ(number->unsignedLongLongValue(), kLargest);
}

TEST(ZKVersionConversion, AnObjectWithoutANumberGivesNothing) {
  const Ref<NSObject> others[] = {std::make_shared<PlainObject>(), NSNull::null(),
                                  NSDate::dateWithTimeIntervalSince1970(1),
                                  // A version has a packed value, but does not read as a number itself.
                                  ZKVersion::versionWithApplication()};
  for (const Ref<NSObject>& other : others) {
    EXPECT_FALSE(ZKVersion::numberWithUnsignedLongLongFromNSObject(other));
    EXPECT_FALSE(ZKVersion::versionWithNumber(other));
  }
}

TEST(ZKVersionConversion, AVersionMadeFromANumberHasToBeValid) {
  const Ref<ZKVersion> ofText = ZKVersion::versionWithNumber("100010013"_ns);
  ASSERT_TRUE(ofText);
  EXPECT_EQ(ofText->descriptionFull()->bytes(), "1.0.1.13");
  EXPECT_FALSE(ZKVersion::versionWithNumber("999999"_ns));
  EXPECT_TRUE(ZKVersion::versionWithNumber("1000000"_ns));
  EXPECT_FALSE(ZKVersion::versionWithNumber(nullptr));

  EXPECT_FALSE(ZKVersion::versionWithNumber(NSNumber::numberWithInt(999'999)));
  EXPECT_EQ(ZKVersion::versionWithNumber(NSNumber::numberWithInt(1'000'000))->unsignedLongLong(), 1'000'000U);
  EXPECT_EQ(ZKVersion::versionWithNumber(NSNumber::numberWithInt(-5))->unsignedLongLong(), kLargest - 4);
  EXPECT_EQ(ZKVersion::versionWithNumber(NSNumber::numberWithDouble(1'000'000.9))->unsignedLongLong(), 1'000'000U);
  EXPECT_EQ(ZKVersion::versionWithNumber(std::make_shared<CountingObject>(1'000'001))->unsignedLongLong(), 1'000'001U);
}

TEST(ZKVersionConversion, InitWithANumberChecksNothingAndStoresZeroForNone) {
  EXPECT_EQ(ZKVersion::initWithNumber(NSNumber::numberWithInt(7))->unsignedLongLong(), 7U);
  EXPECT_EQ(ZKVersion::initWithNumber("100010013"_ns)->unsignedLongLong(), 100'010'013U);
  EXPECT_EQ(ZKVersion::initWithNumber(std::make_shared<CountingObject>(9))->unsignedLongLong(), 9U);
  for (const Ref<NSObject>& none : {Ref<NSObject>(), Ref<NSObject>(std::make_shared<PlainObject>())}) {
    const Ref<ZKVersion> version = ZKVersion::initWithNumber(none);
    ASSERT_TRUE(version);
    EXPECT_EQ(version->unsignedLongLong(), 0U);
  }
}

TEST(ZKVersionConversion, SettingANumberKeepsThePackedValueForNone) {
  const Ref<ZKVersion> version = ZKVersion::initWithUnsignedLongLong(42);
  version->setNumber(std::make_shared<PlainObject>());
  EXPECT_EQ(version->unsignedLongLong(), 42U);
  version->setNumber(nullptr);
  EXPECT_EQ(version->unsignedLongLong(), 42U);
  version->setNumber("17"_ns);
  EXPECT_EQ(version->unsignedLongLong(), 17U);
  version->setNumber(NSNumber::numberWithUnsignedLongLong(kLargest));
  EXPECT_EQ(version->unsignedLongLong(), kLargest);
  version->setNumber("no digits"_ns);
  EXPECT_EQ(version->unsignedLongLong(), 0U);
}

TEST(ZKVersionConversion, ReturnsItsPackedValueAsANewNumberObject) {
  const Ref<ZKVersion> version = ZKVersion::initWithUnsignedLongLong(kLargest);
  EXPECT_EQ(version->number()->unsignedLongLongValue(), kLargest);
  EXPECT_NE(version->number(), version->number());
}

}  // namespace
}  // namespace zk
