#include "objects/NSData.h"

#include <gtest/gtest.h>

#include "objects/NSString.h"

namespace zk {
namespace {

TEST(NSData, KeepsAnyBytes) {
  const Ref<NSData> data = NSData::dataWithBytes(std::string_view("a\0\xFF", 3));
  EXPECT_EQ(data->bytes(), std::string_view("a\0\xFF", 3));
  EXPECT_EQ(data->length(), 3U);
}

TEST(NSData, IsEqualByItsBytes) {
  EXPECT_TRUE(NSData::dataWithBytes("a")->isEqual(NSData::dataWithBytes("a")));
  EXPECT_EQ(NSData::dataWithBytes("a")->hash(), NSData::dataWithBytes("a")->hash());
  EXPECT_FALSE(NSData::dataWithBytes("a")->isEqual(NSData::dataWithBytes("b")));
  EXPECT_FALSE(NSData::dataWithBytes("a")->isEqual(nullptr));
  EXPECT_FALSE(NSData::dataWithBytes("a")->isEqual("a"_ns));
}

TEST(NSData, IsDistinguishedFromOtherObjects) {
  const Ref<NSData> data = NSData::dataWithBytes("a");
  EXPECT_EQ(asData(data), data);
  EXPECT_FALSE(asData("a"_ns));
  EXPECT_FALSE(asData(nullptr));
}

}  // namespace
}  // namespace zk
