#include "objects/NSObject.h"

#include <gtest/gtest.h>

#include "objects/NSNull.h"
#include "objects/NSString.h"

namespace zk {
namespace {

class Thing final : public NSObject {
 public:
  Thing() = default;
};

TEST(NSObject, IsEqualOnlyToItself) {
  const Ref<NSObject> thing = std::make_shared<Thing>();
  EXPECT_TRUE(thing->isEqual(thing));
  EXPECT_FALSE(thing->isEqual(std::make_shared<Thing>()));
  EXPECT_FALSE(thing->isEqual(nullptr));
  EXPECT_EQ(thing->hash(), thing->hash());
}

TEST(NSObject, HasADescription) { EXPECT_GT(std::make_shared<Thing>()->description()->length(), 0U); }

TEST(NSObject, DoesNotReadAsANumber) { EXPECT_FALSE(std::make_shared<Thing>()->unsignedLongLongValue().has_value()); }

TEST(NSObject, AnAbsentObjectIsEqualOnlyToAnotherAbsentOne) {
  const Ref<NSObject> thing = std::make_shared<Thing>();
  EXPECT_TRUE(areEqual(nullptr, nullptr));
  EXPECT_FALSE(areEqual(thing, nullptr));
  EXPECT_FALSE(areEqual(nullptr, thing));
  EXPECT_TRUE(areEqual(thing, thing));
  EXPECT_TRUE(areEqual("a"_ns, "a"_ns));
}

TEST(NSObject, AClassHasAName) {
  const ClassInfo info = {"ZKThing"};
  EXPECT_EQ(NSStringFromClass(&info)->bytes(), "ZKThing");
}

TEST(NSNull, AllNullObjectsAreEqual) {
  EXPECT_TRUE(NSNull::null()->isEqual(NSNull::null()));
  EXPECT_EQ(NSNull::null()->hash(), NSNull::null()->hash());
  EXPECT_FALSE(NSNull::null()->isEqual(nullptr));
  EXPECT_FALSE(NSNull::null()->isEqual(""_ns));
}

}  // namespace
}  // namespace zk
