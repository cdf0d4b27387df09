#include "objects/NSDate.h"

#include <gtest/gtest.h>

#include <cmath>

#include "objects/NSNumber.h"

namespace zk {
namespace {

TEST(NSDate, CountsFromTheReferenceDate) {
  EXPECT_EQ(NSDate::dateWithTimeIntervalSinceReferenceDate(1.5)->timeIntervalSinceReferenceDate(), 1.5);
  EXPECT_EQ(NSDate::dateWithTimeIntervalSince1970(0)->timeIntervalSinceReferenceDate(), -978'307'200.0);
  EXPECT_EQ(NSDate::dateWithTimeIntervalSince1970(978'307'200)->timeIntervalSinceReferenceDate(), 0.0);
}

TEST(NSDate, IsEqualByItsExactTime) {
  const auto at = &NSDate::dateWithTimeIntervalSinceReferenceDate;
  EXPECT_TRUE(at(1.5)->isEqual(at(1.5)));
  EXPECT_EQ(at(1.5)->hash(), at(1.5)->hash());
  EXPECT_FALSE(at(1.5)->isEqual(at(std::nextafter(1.5, 2.0))));
  EXPECT_FALSE(at(1.5)->isEqual(nullptr));
  EXPECT_FALSE(at(1.5)->isEqual(NSNumber::numberWithDouble(1.5)));
}

TEST(NSDate, IsDistinguishedFromOtherObjects) {
  const Ref<NSDate> date = NSDate::dateWithTimeIntervalSinceReferenceDate(0);
  EXPECT_EQ(asDate(date), date);
  EXPECT_FALSE(asDate(NSNumber::numberWithInt(0)));
  EXPECT_FALSE(asDate(nullptr));
}

}  // namespace
}  // namespace zk
