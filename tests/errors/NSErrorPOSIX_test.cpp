#include "NSErrorPOSIX.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>

#include "POSIXErrorRows.h"
#include "support/Memory.h"

namespace zk {
namespace {

using POSIX::errorWithPOSIXCode;

const Ref<NSString> kNoText = nullptr;
const Ref<NSURL> kNoURL = nullptr;

std::string text(const Ref<NSError>& error, const Ref<NSString>& key) {
  const Ref<NSString> value = asString(error->userInfo()->objectForKey(key));
  return value ? value->bytes() : "absent";
}

TEST(NSErrorPOSIX, EveryRowOfTheTableDescribesItsCode) {
  for (const auto& row : test::kPOSIXErrorRows) {
    const Ref<NSError> error = errorWithPOSIXCode(row.number, kNoText);
    EXPECT_EQ(error->domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error->code(), row.number);
    if (row.number == 105) {
      EXPECT_EQ(error->userInfo()->count(), 0U);
    } else {
      EXPECT_EQ(error->userInfo()->count(), 1U);
      EXPECT_EQ(text(error, NSLocalizedDescriptionKey), row.description);
    }
  }
}

TEST(NSErrorPOSIX, AnAbandonedWaitHasOnlyADescription) {
  const Ref<NSError> error = errorWithPOSIXCode(89, kNoText);
  EXPECT_EQ(error->domain()->bytes(), "NSPOSIXErrorDomain");
  EXPECT_EQ(error->code(), 89);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "Operation canceled");
}

TEST(NSErrorPOSIX, ABusySemaphoreHasADescriptionAndAReason) {
  const Ref<NSError> error = errorWithPOSIXCode(35, "The semaphore is already locked."_ns);
  EXPECT_EQ(error->code(), 35);
  EXPECT_EQ(error->userInfo()->count(), 2U);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "Resource temporarily unavailable / Operation would block");
  EXPECT_EQ(text(error, NSLocalizedFailureReasonErrorKey), "The semaphore is already locked.");
}

TEST(NSErrorPOSIX, AMissingFileHasOnlyADescription) {
  const Ref<NSError> error = errorWithPOSIXCode(2, kNoText);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "No such file or directory");
}

TEST(NSErrorPOSIX, ACodeOutsideTheTableIsKeptAndHasNoDescription) {
  for (const long code : {0L, -1L, -35L, 106L, 1035L, std::numeric_limits<long>::max() - 0x7FFFFFFFL,
                          std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}) {
    const Ref<NSError> error = errorWithPOSIXCode(code, kNoText);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), code);
    ASSERT_TRUE(error->userInfo());
    EXPECT_EQ(error->userInfo()->count(), 0U) << code;
  }
}

TEST(NSErrorPOSIX, TheLastRowHasNoDescription) {
  const Ref<NSError> error = errorWithPOSIXCode(105, "a reason"_ns);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(text(error, NSLocalizedFailureReasonErrorKey), "a reason");
}

TEST(NSErrorPOSIX, ALeadingSpaceInADescriptionIsKept) {
  EXPECT_EQ(text(errorWithPOSIXCode(41, kNoText), NSLocalizedDescriptionKey), " Protocol wrong type for socket");
}

TEST(NSErrorPOSIX, TwoCodesAreReserved) {
  EXPECT_EQ(text(errorWithPOSIXCode(95, kNoText), NSLocalizedDescriptionKey), "Reserved");
  EXPECT_EQ(text(errorWithPOSIXCode(97, kNoText), NSLocalizedDescriptionKey), "Reserved");
}

TEST(NSErrorPOSIX, TheLookUpUsesTheLow32BitsAndTheErrorKeepsTheWholeCode) {
  const long wide = (1L << 32) + 2;
  const Ref<NSError> error = errorWithPOSIXCode(wide, kNoText);
  EXPECT_EQ(error->code(), wide);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "No such file or directory");
}

TEST(NSErrorPOSIX, HoldsTheObjectsThatWerePassed) {
  const Ref<NSString> reason = "a reason"_ns;
  const Ref<NSString> path = "/a/path"_ns;
  const Ref<NSURL> url = NSURL::fileURLWithPath("/another/path"_ns);
  const Ref<NSError> error = POSIX_Private::errorWithPOSIXCode(2, reason, path, url);
  EXPECT_EQ(error->userInfo()->count(), 4U);
  EXPECT_EQ(error->userInfo()->objectForKey(NSLocalizedFailureReasonErrorKey), reason);
  EXPECT_EQ(error->userInfo()->objectForKey(NSFilePathErrorKey), path);
  EXPECT_EQ(error->userInfo()->objectForKey(NSURLErrorKey), url);
}

TEST(NSErrorPOSIX, TextsThatAreEmptyOrAbsentAreLeftOut) {
  for (const Ref<NSString>& none : {kNoText, ""_ns}) {
    EXPECT_EQ(errorWithPOSIXCode(0, none, none)->userInfo()->count(), 0U);
    EXPECT_EQ(errorWithPOSIXCode(0, "a reason"_ns, none)->userInfo()->count(), 1U);
    EXPECT_EQ(errorWithPOSIXCode(0, none, "/a/path"_ns)->userInfo()->count(), 1U);
    EXPECT_EQ(text(errorWithPOSIXCode(0, none, "/a/path"_ns), NSFilePathErrorKey), "/a/path");
  }
}

TEST(NSErrorPOSIX, AnyPresentURLIsStoredAndAnAbsentOneIsNot) {
  const Ref<NSURL> empty = std::make_shared<NSURL>("");
  const Ref<NSError> error = errorWithPOSIXCode(0, kNoText, empty);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(error->userInfo()->objectForKey(NSURLErrorKey), empty);
  EXPECT_EQ(errorWithPOSIXCode(0, kNoText, kNoURL)->userInfo()->count(), 0U);
}

TEST(NSErrorPOSIX, ConveniencesAreTheDesignatedOperationWithTheRestAbsent) {
  const Ref<NSString> reason = "a reason"_ns;
  const Ref<NSString> path = "/a/path"_ns;
  const Ref<NSURL> url = NSURL::fileURLWithPath(path);
  EXPECT_TRUE(areEqual(errorWithPOSIXCode(13, reason), POSIX_Private::errorWithPOSIXCode(13, reason, kNoText, kNoURL)));
  EXPECT_TRUE(
      areEqual(errorWithPOSIXCode(13, reason, path), POSIX_Private::errorWithPOSIXCode(13, reason, path, kNoURL)));
  EXPECT_TRUE(
      areEqual(errorWithPOSIXCode(13, reason, url), POSIX_Private::errorWithPOSIXCode(13, reason, kNoText, url)));
  EXPECT_FALSE(areEqual(errorWithPOSIXCode(13, reason, url), errorWithPOSIXCode(13, reason, path)));
}

TEST(NSErrorPOSIX, NullPointersAreAbsentWhateverTheyStandFor) {
  EXPECT_TRUE(areEqual(errorWithPOSIXCode(2, nullptr, nullptr), errorWithPOSIXCode(2, kNoText)));
  EXPECT_TRUE(areEqual(errorWithPOSIXCode(2, "a reason"_ns, nullptr), errorWithPOSIXCode(2, "a reason"_ns)));
}

TEST(NSErrorPOSIX, TheDictionaryHasRoomForItsEntriesAndNoMore) {
  const Ref<NSURL> url = NSURL::fileURLWithPath("/"_ns);
  for (const Ref<NSError>& error :
       {errorWithPOSIXCode(0, kNoText), errorWithPOSIXCode(2, kNoText), errorWithPOSIXCode(2, "a reason"_ns),
        errorWithPOSIXCode(2, "a reason"_ns, url), POSIX_Private::errorWithPOSIXCode(2, "a reason"_ns, "/a"_ns, url)}) {
    EXPECT_EQ(error->userInfo()->entries().capacity(), error->userInfo()->count());
  }
}

TEST(NSErrorPOSIX, EachCallMakesAFreshError) {
  const Ref<NSError> error = errorWithPOSIXCode(2, kNoText);
  const Ref<NSError> other = errorWithPOSIXCode(2, kNoText);
  EXPECT_NE(error, other);
  EXPECT_NE(error->userInfo(), other->userInfo());
  EXPECT_TRUE(areEqual(error, other));
}

TEST(NSErrorPOSIX, WithoutMemoryForTheDictionaryThereIsNoError) {
  // Code 0 has an empty description, which takes one allocation. The dictionary and its room take one each.
  for (const std::size_t succeeding : {1U, 2U}) {
    const Ref<NSString> reason = "a reason"_ns;
    Ref<NSError> error = errorWithPOSIXCode(0, reason);
    const test::FailingAllocation failing(succeeding);
    error = errorWithPOSIXCode(0, reason);
    EXPECT_TRUE(failing.hasFailed());
    EXPECT_FALSE(error);
  }
}

}  // namespace
}  // namespace zk
