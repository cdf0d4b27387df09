#include "NSErrorOSStatus.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/Memory.h"
#include "system/System.h"

namespace zk {
namespace {

using OSStatus::errorWithOSStatus;

const Ref<NSString> kNoText = nullptr;
const Ref<NSURL> kNoURL = nullptr;

/// A status that no system describes.
constexpr std::int32_t kUnknown = 123'456'789;

TEST(NSErrorOSStatus, HasTheSystemsOwnDescription) {
  ASSERT_NE(GetMacOSStatusCommentString(-43), nullptr);
  const Ref<NSError> error = errorWithOSStatus(-43, kNoText);
  EXPECT_EQ(error->domain()->bytes(), "NSOSStatusErrorDomain");
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(asString(error->userInfo()->objectForKey(NSLocalizedDescriptionKey))->bytes(),
            GetMacOSStatusCommentString(-43));
}

TEST(NSErrorOSStatus, KeepsTheSignOfAStatus) {
  EXPECT_EQ(errorWithOSStatus(-43, kNoText)->code(), -43L);
  EXPECT_EQ(errorWithOSStatus(procNotFound, kNoText)->code(), -600L);
  EXPECT_EQ(errorWithOSStatus(std::numeric_limits<std::int32_t>::min(), kNoText)->code(), -2'147'483'648L);
  EXPECT_EQ(errorWithOSStatus(std::numeric_limits<std::int32_t>::max(), kNoText)->code(), 2'147'483'647L);
}

TEST(NSErrorOSStatus, AnUnknownStatusHasAnEmptyDictionary) {
  const Ref<NSError> error = errorWithOSStatus(kUnknown, kNoText);
  EXPECT_EQ(error->code(), kUnknown);
  ASSERT_TRUE(error->userInfo());
  EXPECT_EQ(error->userInfo()->count(), 0U);
}

TEST(NSErrorOSStatus, HoldsTheObjectsThatWerePassed) {
  const Ref<NSString> reason = "a reason"_ns;
  const Ref<NSString> path = "/a/path"_ns;
  const Ref<NSURL> url = NSURL::fileURLWithPath("/another/path"_ns);
  const Ref<NSError> error = OSStatus_Private::errorWithOSStatus(-43, reason, path, url);
  EXPECT_EQ(error->userInfo()->count(), 4U);
  EXPECT_EQ(error->userInfo()->entries().capacity(), 4U);
  EXPECT_EQ(error->userInfo()->objectForKey(NSLocalizedFailureReasonErrorKey), reason);
  EXPECT_EQ(error->userInfo()->objectForKey(NSFilePathErrorKey), path);
  EXPECT_EQ(error->userInfo()->objectForKey(NSURLErrorKey), url);
}

TEST(NSErrorOSStatus, TextsThatAreEmptyOrAbsentAreLeftOut) {
  for (const Ref<NSString>& none : {kNoText, ""_ns}) {
    EXPECT_EQ(errorWithOSStatus(kUnknown, none, none)->userInfo()->count(), 0U);
    EXPECT_EQ(errorWithOSStatus(kUnknown, "a reason"_ns, none)->userInfo()->count(), 1U);
    EXPECT_EQ(errorWithOSStatus(kUnknown, none, "/a/path"_ns)->userInfo()->count(), 1U);
  }
}

TEST(NSErrorOSStatus, AnyPresentURLIsStoredAndAnAbsentOneIsNot) {
  const Ref<NSURL> empty = std::make_shared<NSURL>("");
  const Ref<NSError> error = errorWithOSStatus(kUnknown, kNoText, empty);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(error->userInfo()->objectForKey(NSURLErrorKey), empty);
  EXPECT_EQ(errorWithOSStatus(kUnknown, kNoText, kNoURL)->userInfo()->count(), 0U);
}

TEST(NSErrorOSStatus, ConveniencesAreTheDesignatedOperationWithTheRestAbsent) {
  const Ref<NSString> reason = "a reason"_ns;
  const Ref<NSString> path = "/a/path"_ns;
  const Ref<NSURL> url = NSURL::fileURLWithPath(path);
  EXPECT_TRUE(
      areEqual(errorWithOSStatus(-50, reason), OSStatus_Private::errorWithOSStatus(-50, reason, kNoText, kNoURL)));
  EXPECT_TRUE(
      areEqual(errorWithOSStatus(-50, reason, path), OSStatus_Private::errorWithOSStatus(-50, reason, path, kNoURL)));
  EXPECT_TRUE(
      areEqual(errorWithOSStatus(-50, reason, url), OSStatus_Private::errorWithOSStatus(-50, reason, kNoText, url)));
  EXPECT_FALSE(areEqual(errorWithOSStatus(-50, reason, url), errorWithOSStatus(-50, reason, path)));
}

TEST(NSErrorOSStatus, NullPointersAreAbsentWhateverTheyStandFor) {
  EXPECT_TRUE(areEqual(errorWithOSStatus(-50, nullptr, nullptr), errorWithOSStatus(-50, kNoText)));
  EXPECT_TRUE(areEqual(errorWithOSStatus(-50, "a reason"_ns, nullptr), errorWithOSStatus(-50, "a reason"_ns)));
}

TEST(NSErrorOSStatus, WithoutMemoryForTheDictionaryThereIsNoError) {
  const Ref<NSString> reason = "a reason"_ns;
  const Ref<NSError> error = errorWithOSStatus(kUnknown, reason);
  ASSERT_TRUE(error);
  // An unknown status has no description: the first allocation is for the dictionary, the second for its room.
  for (const std::size_t succeeding : {0U, 1U}) {
    const test::FailingAllocation failing(succeeding);
    const Ref<NSError> none = errorWithOSStatus(kUnknown, reason);
    EXPECT_TRUE(failing.hasFailed());
    EXPECT_FALSE(none);
  }
}

}  // namespace
}  // namespace zk
