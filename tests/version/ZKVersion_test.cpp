#include "ZKVersion.h"

#include <gtest/gtest.h>

#include <limits>

#include "OtherObjects.h"
#include "objects/NSNull.h"

namespace zk {
namespace {

using test::CountingObject;
using test::PlainObject;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

Ref<ZKVersion> packed(std::uint64_t value) { return ZKVersion::initWithUnsignedLongLong(value); }

/// The four parts of a version, in one value that can be compared and printed.
std::vector<int> partsOf(const Ref<ZKVersion>& version) {
  return {version->major(), version->minor(), version->micro(), version->spin()};
}

class DerivedVersion final : public ZKVersion {
 public:
  using ZKVersion::ZKVersion;
};

TEST(ZKVersion, PacksFourPartsAsDecimalDigits) {
  const Ref<ZKVersion> version = ZKVersion::versionWithMajor(1, 2, 3, 4);
  ASSERT_TRUE(version);
  EXPECT_EQ(version->unsignedLongLong(), 102'030'004U);
  EXPECT_EQ(partsOf(version), (std::vector{1, 2, 3, 4}));
  EXPECT_EQ(ZKVersion::versionWithMajor(1, 0, 1, 13)->unsignedLongLong(), 100'010'013U);
}

TEST(ZKVersion, ReadsEachPartFromItsDigits) {
  EXPECT_EQ(ZKVersion::extractMajor(100'010'013), 1);
  EXPECT_EQ(ZKVersion::extractMinor(1'23'45'6789), 23);
  EXPECT_EQ(ZKVersion::extractMicro(1'23'45'6789), 45);
  EXPECT_EQ(ZKVersion::extractSpin(1'23'45'6789), 6789);
  EXPECT_EQ(partsOf(packed(99'98'97'9695)), (std::vector{99, 98, 97, 9695}));
}

TEST(ZKVersion, CutsTheMajorToSixteenBitsAndNotToTwoDigits) {
  EXPECT_EQ(partsOf(packed(12'345'678'901'234)), (std::vector{57920, 78, 90, 1234}));
  EXPECT_EQ(partsOf(packed(kLargest)), (std::vector{50273, 9, 55, 1615}));
  EXPECT_EQ(ZKVersion::extractMajor(65'535ULL * 100'000'000), 65'535);
  EXPECT_EQ(ZKVersion::extractMajor(65'536ULL * 100'000'000), 0);
  EXPECT_EQ(ZKVersion::extractMajor(100ULL * 100'000'000), 100);
}

TEST(ZKVersion, InitMakesTheApplicationVersion) { EXPECT_EQ(ZKVersion::init()->unsignedLongLong(), 100'010'013U); }

TEST(ZKVersion, InitWithAPackedValueChecksNothing) {
  for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{999'999}, std::uint64_t{1'000'000}, kLargest}) {
    const Ref<ZKVersion> version = ZKVersion::initWithUnsignedLongLong(value);
    ASSERT_TRUE(version);
    EXPECT_EQ(version->unsignedLongLong(), value);
  }
  EXPECT_FALSE(packed(0)->isValid());
}

TEST(ZKVersion, InitWithPartsClampsEachPart) {
  EXPECT_EQ(ZKVersion::initWithMajor(150, 100, 250, 12'000)->unsignedLongLong(), 99'99'99'9999U);
  EXPECT_EQ(ZKVersion::initWithMajor(99, 99, 99, 9'999)->unsignedLongLong(), 99'99'99'9999U);
  EXPECT_EQ(ZKVersion::initWithMajor(100, 0, 0, 0)->unsignedLongLong(), 99'00'00'0000U);
  EXPECT_EQ(ZKVersion::initWithMajor(0, 100, 0, 0)->unsignedLongLong(), 99'00'0000U);
  EXPECT_EQ(ZKVersion::initWithMajor(0, 0, 100, 0)->unsignedLongLong(), 99'0000U);
  EXPECT_EQ(ZKVersion::initWithMajor(0, 0, 0, 10'000)->unsignedLongLong(), 9'999U);
  EXPECT_EQ(ZKVersion::initWithMajor(65'535, 65'535, 65'535, 65'535)->unsignedLongLong(), 99'99'99'9999U);
}

TEST(ZKVersion, IsValidFromTheFirstMinorOn) {
  EXPECT_FALSE(packed(999'999)->isValid());
  EXPECT_TRUE(packed(1'000'000)->isValid());
  EXPECT_TRUE(packed(kLargest)->isValid());

  EXPECT_FALSE(ZKVersion::versionWithUnsignedLongLong(0));
  EXPECT_FALSE(ZKVersion::versionWithUnsignedLongLong(999'999));
  const Ref<ZKVersion> smallest = ZKVersion::versionWithUnsignedLongLong(1'000'000);
  ASSERT_TRUE(smallest);
  EXPECT_EQ(partsOf(smallest), (std::vector{0, 1, 0, 0}));
}

TEST(ZKVersion, TheFactoryGivesNothingWhereInitMakesAnInvalidVersion) {
  EXPECT_FALSE(ZKVersion::versionWithMajor(0, 0, 5, 1));
  const Ref<ZKVersion> invalid = ZKVersion::initWithMajor(0, 0, 5, 1);
  ASSERT_TRUE(invalid);
  EXPECT_EQ(invalid->unsignedLongLong(), 50'001U);
  EXPECT_FALSE(invalid->isValid());
  EXPECT_TRUE(ZKVersion::versionWithMajor(0, 1, 0, 0));
}

TEST(ZKVersion, SetsTheWholePackedValueWithoutACheck) {
  const Ref<ZKVersion> version = packed(100'010'013);
  version->setUnsignedLongLong(7);
  EXPECT_EQ(version->unsignedLongLong(), 7U);
  version->setUnsignedLongLong(kLargest);
  EXPECT_EQ(version->unsignedLongLong(), kLargest);
}

TEST(ZKVersion, PartSettersClearBitsAndNotDigits) {
  struct Row {
    void (ZKVersion::*set)(std::uint16_t);
    std::uint16_t part;
    std::uint64_t value;
    std::vector<int> parts;
  };
  const Row rows[] = {{&ZKVersion::setSpin, 5, 100'010'005, {1, 0, 1, 5}},
                      {&ZKVersion::setSpin, 12'000, 100'019'999, {1, 0, 1, 9999}},
                      {&ZKVersion::setMajor, 2, 231'459'357, {2, 31, 45, 9357}},
                      {&ZKVersion::setMinor, 3, 4'048'605, {0, 4, 4, 8605}},
                      {&ZKVersion::setMicro, 2, 99'634'733, {0, 99, 63, 4733}}};
  for (const Row& row : rows) {
    const Ref<ZKVersion> version = packed(100'010'013);
    ((*version).*row.set)(row.part);
    EXPECT_EQ(version->unsignedLongLong(), row.value);
    EXPECT_EQ(partsOf(version), row.parts);
  }
}

TEST(ZKVersion, EachPartSetterIsCleanOnZero) {
  const auto set = [](void (ZKVersion::*setter)(std::uint16_t), std::uint16_t part) {
    const Ref<ZKVersion> version = packed(0);
    ((*version).*setter)(part);
    return version->unsignedLongLong();
  };
  EXPECT_EQ(set(&ZKVersion::setMajor, 1), 100'000'000U);
  EXPECT_EQ(set(&ZKVersion::setMinor, 2), 2'000'000U);
  EXPECT_EQ(set(&ZKVersion::setMicro, 3), 30'000U);
  EXPECT_EQ(set(&ZKVersion::setSpin, 4), 4U);

  EXPECT_EQ(set(&ZKVersion::setMajor, 100), 9'900'000'000U);
  EXPECT_EQ(set(&ZKVersion::setMinor, 65'535), 99'000'000U);
  EXPECT_EQ(set(&ZKVersion::setMicro, 100), 990'000U);
  EXPECT_EQ(set(&ZKVersion::setSpin, 10'000), 9'999U);
}

TEST(ZKVersion, PartSettersDisturbEachOther) {
  const Ref<ZKVersion> version = packed(0);
  version->setMajor(1);
  version->setMinor(2);
  version->setMicro(3);
  version->setSpin(4);
  EXPECT_EQ(version->unsignedLongLong(), 2'185'396U);
}

TEST(ZKVersion, ASetterWrapsAtSixtyFourBits) {
  const Ref<ZKVersion> version = packed(kLargest);
  version->setMajor(99);
  EXPECT_EQ(version->unsignedLongLong(), 8'589'934'591U);
}

TEST(ZKVersion, ComparesPackedValuesAndRanksAbsentBelowAll) {
  EXPECT_EQ(packed(102'030'004)->compare(packed(110'000'000)), -1);
  EXPECT_EQ(packed(110'000'000)->compare(packed(102'030'004)), 1);
  EXPECT_EQ(packed(102'030'004)->compare(packed(102'030'004)), 0);
  EXPECT_EQ(packed(102'030'004)->compare(nullptr), 1);
  EXPECT_EQ(packed(0)->compare(nullptr), 1);
  EXPECT_EQ(packed(0)->compare(packed(0)), 0);
  EXPECT_EQ(packed(kLargest)->compare(packed(1)), 1) << "a signed comparison";
}

TEST(ZKVersion, EqualityWithAVersionReadsAbsentAsZero) {
  EXPECT_TRUE(packed(5)->isEqualToVersion(packed(5)));
  EXPECT_FALSE(packed(5)->isEqualToVersion(packed(6)));
  EXPECT_FALSE(packed(5)->isEqualToVersion(nullptr));
  EXPECT_TRUE(packed(0)->isEqualToVersion(nullptr));
}

TEST(ZKVersion, EqualityWithAnObjectNeedsAVersion) {
  EXPECT_TRUE(packed(5)->isEqual(packed(5)));
  EXPECT_FALSE(packed(5)->isEqual(packed(6)));
  EXPECT_FALSE(packed(5)->isEqual(nullptr));
  EXPECT_FALSE(packed(5)->isEqual(NSNumber::numberWithUnsignedLongLong(5)));
  EXPECT_FALSE(packed(5)->isEqual(std::make_shared<CountingObject>(5)));
  EXPECT_TRUE(packed(5)->isEqual(std::make_shared<DerivedVersion>(5)));
  EXPECT_TRUE(std::make_shared<DerivedVersion>(5)->isEqual(packed(5)));
}

TEST(ZKVersion, ZeroEqualsAbsentAsAVersionAndNotAsAnObject) {
  EXPECT_TRUE(packed(0)->isEqualToVersion(nullptr));
  EXPECT_TRUE(packed(0)->isNotEqualTo(nullptr));
  EXPECT_FALSE(packed(0)->isEqual(nullptr));
}

TEST(ZKVersion, HashesLikeItsNumberObject) {
  for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{102'030'004}, kLargest}) {
    EXPECT_EQ(packed(value)->hash(), packed(value)->number()->hash());
    EXPECT_EQ(packed(value)->hash(), std::make_shared<DerivedVersion>(value)->hash());
  }
  EXPECT_NE(packed(102'030'004)->hash(), packed(102'030'005)->hash());
}

TEST(ZKVersion, RelationsOrderPackedValues) {
  const Ref<ZKVersion> small = packed(102'030'004);
  const Ref<ZKVersion> large = packed(kLargest);
  EXPECT_TRUE(large->isGreaterThan(small));
  EXPECT_FALSE(small->isGreaterThan(large));
  EXPECT_FALSE(small->isGreaterThan(packed(102'030'004)));

  EXPECT_TRUE(large->isGreaterThanOrEqualTo(small));
  EXPECT_FALSE(small->isGreaterThanOrEqualTo(large));
  EXPECT_TRUE(small->isGreaterThanOrEqualTo(packed(102'030'004)));

  EXPECT_TRUE(small->isLessThan(large));
  EXPECT_FALSE(large->isLessThan(small));
  EXPECT_FALSE(small->isLessThan(packed(102'030'004)));

  EXPECT_TRUE(small->isLessThanOrEqualTo(large));
  EXPECT_FALSE(large->isLessThanOrEqualTo(small));
  EXPECT_TRUE(small->isLessThanOrEqualTo(packed(102'030'004)));

  EXPECT_TRUE(small->isNotEqualTo(large));
  EXPECT_FALSE(small->isNotEqualTo(packed(102'030'004)));
  EXPECT_FALSE(small->isNotEqualTo(std::make_shared<DerivedVersion>(102'030'004)));
}

TEST(ZKVersion, RelationsTreatOtherObjectsLikeAbsentOnes) {
  const Ref<NSObject> others[] = {nullptr,
                                  std::make_shared<PlainObject>(),
                                  std::make_shared<CountingObject>(kLargest),
                                  NSNumber::numberWithUnsignedLongLong(102'030'004),
                                  "1.2.3.4"_ns,
                                  NSNull::null()};
  for (const Ref<ZKVersion>& version : {packed(102'030'004), packed(0), packed(kLargest)}) {
    for (const Ref<NSObject>& other : others) {
      EXPECT_TRUE(version->isGreaterThan(other));
      EXPECT_TRUE(version->isGreaterThanOrEqualTo(other));
      EXPECT_FALSE(version->isLessThan(other));
      EXPECT_FALSE(version->isLessThanOrEqualTo(other));
      EXPECT_TRUE(version->isNotEqualTo(other));
    }
  }
}

}  // namespace
}  // namespace zk
