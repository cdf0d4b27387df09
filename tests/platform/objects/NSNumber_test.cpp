#include "objects/NSNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "objects/NSString.h"
#include "support/DecimalComma.h"

namespace zk {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kUnsignedMax = std::numeric_limits<std::uint64_t>::max();

std::uint64_t unsignedOf(double value) { return NSNumber::numberWithDouble(value)->unsignedLongLongValue().value(); }
std::int64_t signedOf(double value) { return NSNumber::numberWithDouble(value)->longLongValue(); }

TEST(NSNumber, KnowsItsKind) {
  EXPECT_TRUE(NSNumber::numberWithBool(true)->isBoolean());
  EXPECT_TRUE(NSNumber::numberWithDouble(1)->isReal());
  for (const Ref<NSNumber>& number :
       {NSNumber::numberWithInt(1), NSNumber::numberWithLongLong(1), NSNumber::numberWithUnsignedLongLong(1)}) {
    EXPECT_TRUE(number->isInteger());
    EXPECT_FALSE(number->isBoolean());
    EXPECT_FALSE(number->isReal());
  }
  EXPECT_FALSE(NSNumber::numberWithBool(true)->isInteger());
  EXPECT_FALSE(NSNumber::numberWithDouble(1)->isInteger());
}

TEST(NSNumber, HoldsWhatItWasMadeOf) {
  EXPECT_EQ(NSNumber::numberWithBool(true)->value(), NSNumber::Value(true));
  EXPECT_EQ(NSNumber::numberWithInt(-1)->value(), NSNumber::Value(std::int64_t{-1}));
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->value(), NSNumber::Value(kUnsignedMax));
  EXPECT_EQ(NSNumber::numberWithDouble(1.5)->value(), NSNumber::Value(1.5));
}

TEST(NSNumber, IntegersReadByTheirTwosComplement) {
  EXPECT_EQ(NSNumber::numberWithInt(-5)->unsignedLongLongValue(), kUnsignedMax - 4);
  EXPECT_EQ(NSNumber::numberWithInt(-5)->longLongValue(), -5);
  EXPECT_EQ(NSNumber::numberWithLongLong(kMin)->unsignedLongLongValue(), std::uint64_t{1} << 63);
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->longLongValue(), -1);
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->unsignedLongLongValue(), kUnsignedMax);
  EXPECT_EQ(NSNumber::numberWithBool(true)->unsignedLongLongValue(), 1U);
}

TEST(NSNumber, ReadsAs32BitsFromItsLowBits) {
  EXPECT_EQ(NSNumber::numberWithInt(-5)->intValue(), -5);
  EXPECT_EQ(NSNumber::numberWithLongLong((1LL << 32) + 7)->intValue(), 7);
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(0xFFFFFFFF)->intValue(), -1);
}

TEST(NSNumber, FractionsReadTowardsZero) {
  EXPECT_EQ(unsignedOf(1.999), 1U);
  EXPECT_EQ(signedOf(-1.999), -1);
  EXPECT_EQ(signedOf(0.999), 0);
  EXPECT_EQ(unsignedOf(-0.5), 0U);
}

TEST(NSNumber, RealsOutOfRangeReadAsTheNearerEnd) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double large : {1e30, infinity, 18446744073709551616.0}) EXPECT_EQ(unsignedOf(large), kUnsignedMax);
  for (const double negative : {-1.0, -1e30, -infinity}) EXPECT_EQ(unsignedOf(negative), 0U);
  for (const double large : {1e30, infinity, 9223372036854775808.0}) EXPECT_EQ(signedOf(large), kMax);
  for (const double small : {-1e30, -infinity, -9223372036854775808.0}) EXPECT_EQ(signedOf(small), kMin);
  EXPECT_EQ(unsignedOf(18446744073709549568.0), 18446744073709549568U) << "the largest real below the end";
  EXPECT_EQ(signedOf(9223372036854774784.0), 9223372036854774784);
}

TEST(NSNumber, NotANumberReadsAsZero) {
  EXPECT_EQ(unsignedOf(std::nan("")), 0U);
  EXPECT_EQ(signedOf(std::nan("")), 0);
}

TEST(NSNumber, ReadsAsAReal) {
  EXPECT_EQ(NSNumber::numberWithInt(-5)->doubleValue(), -5.0);
  EXPECT_EQ(NSNumber::numberWithDouble(1.5)->doubleValue(), 1.5);
  EXPECT_EQ(NSNumber::numberWithBool(true)->doubleValue(), 1.0);
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->doubleValue(), 18446744073709551616.0);
}

TEST(NSNumber, IsTrueUnlessZero) {
  EXPECT_TRUE(NSNumber::numberWithBool(true)->boolValue());
  EXPECT_FALSE(NSNumber::numberWithBool(false)->boolValue());
  EXPECT_TRUE(NSNumber::numberWithInt(-1)->boolValue());
  EXPECT_FALSE(NSNumber::numberWithInt(0)->boolValue());
  EXPECT_TRUE(NSNumber::numberWithDouble(0.25)->boolValue());
  EXPECT_FALSE(NSNumber::numberWithDouble(-0.0)->boolValue());
}

TEST(NSNumber, IsEqualByValueWhateverItIsHeldAs) {
  const Ref<NSNumber> ones[] = {NSNumber::numberWithBool(true), NSNumber::numberWithInt(1),
                                NSNumber::numberWithUnsignedLongLong(1), NSNumber::numberWithDouble(1)};
  for (const Ref<NSNumber>& one : ones) {
    for (const Ref<NSNumber>& other : ones) {
      EXPECT_TRUE(one->isEqual(other));
      EXPECT_EQ(one->hash(), other->hash());
    }
    EXPECT_FALSE(one->isEqual(NSNumber::numberWithInt(2)));
    EXPECT_FALSE(one->isEqual(NSNumber::numberWithDouble(1.5)));
    EXPECT_FALSE(one->isEqual(nullptr));
    EXPECT_FALSE(one->isEqual("1"_ns));
  }
}

TEST(NSNumber, TheSameBitsWithAndWithoutASignAreDifferentNumbers) {
  const Ref<NSNumber> negative = NSNumber::numberWithLongLong(-1);
  const Ref<NSNumber> positive = NSNumber::numberWithUnsignedLongLong(kUnsignedMax);
  EXPECT_FALSE(negative->isEqual(positive));
  EXPECT_FALSE(positive->isEqual(negative));
  EXPECT_TRUE(negative->isEqual(NSNumber::numberWithInt(-1)));
}

TEST(NSNumber, LargeIntegersAreComparedExactly) {
  EXPECT_FALSE(NSNumber::numberWithLongLong(kMax)->isEqual(NSNumber::numberWithLongLong(kMax - 1)));
}

TEST(NSNumber, DescribesItself) {
  EXPECT_EQ(NSNumber::numberWithInt(-5)->description()->bytes(), "-5");
  EXPECT_EQ(NSNumber::numberWithLongLong(kMin)->description()->bytes(), "-9223372036854775808");
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->description()->bytes(), "18446744073709551615");
  EXPECT_EQ(NSNumber::numberWithBool(true)->description()->bytes(), "1");
  EXPECT_EQ(NSNumber::numberWithDouble(1.5)->description()->bytes(), "1.5");
}

TEST(NSNumber, DescribesItselfWithADecimalPointEvenIfTheHostHasADecimalComma) {
  const test::DecimalComma scope;
  if (!test::DecimalComma::isThere()) GTEST_SKIP() << "no locale with a decimal comma is installed";
  EXPECT_EQ(NSNumber::numberWithDouble(1.5)->description()->bytes(), "1.5");
}

TEST(NSNumber, IsDistinguishedFromOtherObjects) {
  const Ref<NSNumber> number = NSNumber::numberWithInt(1);
  EXPECT_EQ(asNumber(number), number);
  EXPECT_FALSE(asNumber("1"_ns));
  EXPECT_FALSE(asNumber(nullptr));
}

}  // namespace
}  // namespace zk
