#include "objects/NSString.h"

#include <gtest/gtest.h>

#include <vector>

#include "objects/NSNumber.h"

namespace zk {
namespace {

using namespace std::string_view_literals;

TEST(NSString, IsMadeOfTheBytesBeforeAZero) {
  EXPECT_EQ(NSString::stringWithUTF8String("text")->bytes(), "text");
  EXPECT_EQ(NSString::stringWithUTF8String("te\0xt")->bytes(), "te");
  EXPECT_EQ(NSString::stringWithUTF8String("")->length(), 0U);
}

TEST(NSString, IsAbsentForANullPointer) { EXPECT_FALSE(NSString::stringWithUTF8String(nullptr)); }

TEST(NSString, KeepsAnyBytes) {
  const Ref<NSString> text = NSString::stringWithBytes("\xFF\0\u20AC"sv);
  EXPECT_EQ(text->bytes(), "\xFF\0\u20AC"sv);
  EXPECT_EQ(text->length(), 5U);
}

TEST(NSString, GivesItsBytesEndedByAZero) {
  EXPECT_STREQ("text"_ns->UTF8String(), "text");
  EXPECT_STREQ(""_ns->UTF8String(), "");
}

TEST(NSString, ALiteralKeepsAZeroInside) { EXPECT_EQ("a\0b"_ns->length(), 3U); }

TEST(NSString, LengthIsInBytesAndZeroForAnAbsentText) {
  EXPECT_EQ("\u20AC"_ns->length(), 3U);
  EXPECT_EQ(length("\u20AC"_ns), 3U);
  EXPECT_EQ(length(nullptr), 0U);
}

TEST(NSString, IsReadByteByByte) {
  const Ref<NSString> text = "(4)"_ns;
  EXPECT_EQ(text->characterAtIndex(0), '(');
  EXPECT_EQ(text->characterAtIndex(2), ')');
}

TEST(NSString, IsCutFromAnIndex) {
  const Ref<NSString> text = "abc"_ns;
  EXPECT_EQ(text->substringFromIndex(0)->bytes(), "abc");
  EXPECT_EQ(text->substringFromIndex(2)->bytes(), "c");
  EXPECT_EQ(text->substringFromIndex(3)->bytes(), "");
  EXPECT_EQ(text->substringFromIndex(4)->bytes(), "");
}

TEST(NSString, IsCutToARangeWithinItsLength) {
  const Ref<NSString> text = "abcdef"_ns;
  EXPECT_EQ(text->substringWithRange({1, 3})->bytes(), "bcd");
  EXPECT_EQ(text->substringWithRange({0, 0})->bytes(), "");
  EXPECT_EQ(text->substringWithRange({4, 100})->bytes(), "ef");
  EXPECT_EQ(text->substringWithRange({6, 1})->bytes(), "");
  EXPECT_EQ(text->substringWithRange({100, 1})->bytes(), "");
}

TEST(NSString, IsEqualByItsBytes) {
  EXPECT_TRUE("a"_ns->isEqual("a"_ns));
  EXPECT_FALSE("a"_ns->isEqual("A"_ns));
  EXPECT_FALSE("a"_ns->isEqual("ab"_ns));
  EXPECT_FALSE("a"_ns->isEqual(nullptr));
  EXPECT_FALSE("1"_ns->isEqual(NSNumber::numberWithInt(1)));
  EXPECT_FALSE("a\0b"_ns->isEqual("a\0c"_ns));
  EXPECT_EQ("a\0b"_ns->hash(), "a\0b"_ns->hash());
  EXPECT_NE("a\0b"_ns->hash(), "a\0c"_ns->hash());
}

TEST(NSString, DescribesItself) { EXPECT_EQ("a b"_ns->description()->bytes(), "a b"); }

TEST(NSString, IsDistinguishedFromOtherObjects) {
  const Ref<NSString> text = "a"_ns;
  EXPECT_EQ(asString(text), text);
  EXPECT_FALSE(asString(nullptr));
  EXPECT_FALSE(asString(NSNumber::numberWithInt(1)));
}

constinit const NSStringConstant kConstant = "constant"_constant;
constexpr NSStringConstant kAnother = "another"_constant;

TEST(NSStringConstant, IsAlwaysTheSameText) {
  const Ref<NSString>& text = kConstant;
  const Ref<NSObject> object = kConstant;
  EXPECT_EQ(text->bytes(), "constant");
  EXPECT_EQ(object, text);
  EXPECT_EQ(kConstant->bytes(), "constant");
  EXPECT_EQ((*kConstant).length(), 8U);
}

TEST(NSStringConstant, CanBeUsedAsATextOrAnObject) {
  EXPECT_EQ(length(kConstant), 8U);
  EXPECT_EQ(asString(kConstant), kConstant);
  EXPECT_TRUE(areEqual(kConstant, "constant"_ns));
  EXPECT_TRUE("constant"_ns->isEqual(kConstant));
  const std::vector<Ref<NSString>> list = {kConstant, kAnother, true ? kConstant : kAnother};
  EXPECT_EQ(list.back(), kConstant);
}

TEST(NSStringConstant, IsComparedByIdentity) {
  EXPECT_TRUE(kConstant == kConstant);
  EXPECT_FALSE(kConstant == kAnother);
  EXPECT_FALSE(kConstant == nullptr);
  EXPECT_FALSE(kConstant == "constant"_ns);
}

TEST(NSString, DoesNotReadAsANumber) { EXPECT_FALSE("5"_ns->unsignedLongLongValue().has_value()); }

}  // namespace
}  // namespace zk
