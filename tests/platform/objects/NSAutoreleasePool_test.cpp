#include "objects/NSAutoreleasePool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What has ended, in order.
using Ended = std::vector<std::string>;

/// An object that records its end, and may do something then.
class Witness final : public NSObject {
 public:
  Witness(
      Ended& ended, std::string name, std::function<void()> atEnd = [] {})
      : ended_(ended), name_(std::move(name)), atEnd_(std::move(atEnd)) {}
  ~Witness() override {
    ended_.push_back(name_);
    atEnd_();
  }

 private:
  Ended& ended_;
  std::string name_;
  std::function<void()> atEnd_;
};

TEST(NSAutoreleasePool, AnObjectLivesUntilTheScopeCloses) {
  Ended ended;
  {
    const NSAutoreleasePool pool;
    autorelease(std::make_shared<Witness>(ended, "a"));
    EXPECT_THAT(ended, IsEmpty());
  }
  EXPECT_THAT(ended, ElementsAre("a"));
}

TEST(NSAutoreleasePool, AnObjectThatIsHeldElsewhereOutlivesTheScope) {
  Ended ended;
  Ref<Witness> kept;
  {
    const NSAutoreleasePool pool;
    kept = autorelease(std::make_shared<Witness>(ended, "a"));
  }
  EXPECT_THAT(ended, IsEmpty());
  kept.reset();
  EXPECT_THAT(ended, ElementsAre("a"));
}

TEST(NSAutoreleasePool, ReleasesItsObjectsInTheOrderTheyWereAdded) {
  Ended ended;
  {
    const NSAutoreleasePool pool;
    for (const char* name : {"a", "b", "c"}) autorelease(std::make_shared<Witness>(ended, name));
  }
  EXPECT_THAT(ended, ElementsAre("a", "b", "c"));
}

TEST(NSAutoreleasePool, TheInnermostOpenScopeTakesAnObject) {
  Ended ended;
  {
    const NSAutoreleasePool outer;
    autorelease(std::make_shared<Witness>(ended, "outer"));
    {
      const NSAutoreleasePool inner;
      autorelease(std::make_shared<Witness>(ended, "inner"));
    }
    EXPECT_THAT(ended, ElementsAre("inner"));
    autorelease(std::make_shared<Witness>(ended, "outer again"));
    EXPECT_THAT(ended, ElementsAre("inner"));
  }
  EXPECT_THAT(ended, ElementsAre("inner", "outer", "outer again"));
}

TEST(NSAutoreleasePool, AnObjectHandedOutWhileOthersEndIsReleasedToo) {
  Ended ended;
  {
    const NSAutoreleasePool pool;
    autorelease(
        std::make_shared<Witness>(ended, "a", [&ended] { autorelease(std::make_shared<Witness>(ended, "late")); }));
    autorelease(std::make_shared<Witness>(ended, "b"));
  }
  EXPECT_THAT(ended, ElementsAre("a", "b", "late"));
}

TEST(NSAutoreleasePool, WithoutAScopeNothingIsKept) {
  Ended ended;
  autorelease(std::make_shared<Witness>(ended, "a"));
  EXPECT_THAT(ended, ElementsAre("a"));
}

TEST(NSAutoreleasePool, TakesTheSameObjectMoreThanOnce) {
  Ended ended;
  {
    const NSAutoreleasePool pool;
    const auto witness = std::make_shared<Witness>(ended, "a");
    autorelease(autorelease(witness));
  }
  EXPECT_THAT(ended, ElementsAre("a"));
}

TEST(NSAutoreleasePool, AnAbsentObjectStaysAbsent) {
  const NSAutoreleasePool pool;
  EXPECT_FALSE(autorelease(Ref<Witness>()));
}

TEST(NSAutoreleasePool, AScopeBelongsToOneThread) {
  Ended ended;
  const NSAutoreleasePool pool;
  std::thread([&ended] { autorelease(std::make_shared<Witness>(ended, "other thread")); }).join();
  EXPECT_THAT(ended, ElementsAre("other thread"));
}

}  // namespace
}  // namespace zk
