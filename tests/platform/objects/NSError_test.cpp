#include "objects/NSError.h"

#include <gtest/gtest.h>

#include <limits>

#include "objects/NSNumber.h"

namespace zk {
namespace {

TEST(NSError, HasADomainACodeAndUserInformation) {
  const Ref<NSDictionary> userInfo = NSDictionary::dictionaryWithEntries({{"a"_ns, "b"_ns}});
  const Ref<NSError> error = NSError::errorWithDomain("domain"_ns, -5, userInfo);
  EXPECT_EQ(error->domain()->bytes(), "domain");
  EXPECT_EQ(error->code(), -5);
  EXPECT_EQ(error->userInfo(), userInfo);
}

TEST(NSError, CodesMayUseTheWholeRangeOfALong) {
  for (const long code : {std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}) {
    EXPECT_EQ(NSError::errorWithDomain("domain"_ns, code, nullptr)->code(), code);
  }
}

TEST(NSError, UserInformationIsNeverAbsent) {
  const Ref<NSError> error = NSError::errorWithDomain("domain"_ns, 1, nullptr);
  ASSERT_TRUE(error->userInfo());
  EXPECT_EQ(error->userInfo()->count(), 0U);
  EXPECT_TRUE(NSError("domain"_ns, 1, nullptr).userInfo());
}

TEST(NSError, MayHaveNoDomain) {
  const Ref<NSError> error = NSError::errorWithDomain(nullptr, 5, nullptr);
  EXPECT_FALSE(error->domain());
  EXPECT_TRUE(error->description());
  EXPECT_TRUE(error->isEqual(NSError::errorWithDomain(nullptr, 5, nullptr)));
  EXPECT_EQ(error->hash(), NSError::errorWithDomain(nullptr, 5, nullptr)->hash());
  EXPECT_FALSE(error->isEqual(NSError::errorWithDomain("domain"_ns, 5, nullptr)));
  EXPECT_FALSE(NSError::errorWithDomain("domain"_ns, 5, nullptr)->isEqual(error));
}

TEST(NSError, IsEqualByAllThree) {
  const Ref<NSDictionary> userInfo = NSDictionary::dictionaryWithEntries({{"a"_ns, "b"_ns}});
  const Ref<NSError> error = NSError::errorWithDomain("domain"_ns, 5, userInfo);
  const Ref<NSError> same =
      NSError::errorWithDomain("domain"_ns, 5, NSDictionary::dictionaryWithEntries({{"a"_ns, "b"_ns}}));
  EXPECT_TRUE(error->isEqual(same));
  EXPECT_EQ(error->hash(), same->hash());
  EXPECT_FALSE(error->isEqual(NSError::errorWithDomain("other"_ns, 5, userInfo)));
  EXPECT_FALSE(error->isEqual(NSError::errorWithDomain("domain"_ns, 6, userInfo)));
  EXPECT_FALSE(error->isEqual(NSError::errorWithDomain("domain"_ns, 5, nullptr)));
  EXPECT_FALSE(error->isEqual(nullptr));
  EXPECT_FALSE(error->isEqual(NSNumber::numberWithInt(5)));
}

TEST(NSError, DomainsAndKeysAreThePlatformsOwnTexts) {
  EXPECT_EQ(NSPOSIXErrorDomain->bytes(), "NSPOSIXErrorDomain");
  EXPECT_EQ(NSOSStatusErrorDomain->bytes(), "NSOSStatusErrorDomain");
  EXPECT_EQ(NSLocalizedDescriptionKey->bytes(), "NSLocalizedDescription");
  EXPECT_EQ(NSLocalizedFailureReasonErrorKey->bytes(), "NSLocalizedFailureReason");
  EXPECT_EQ(NSFilePathErrorKey->bytes(), "NSFilePath");
  EXPECT_EQ(NSURLErrorKey->bytes(), "NSURL");
}

}  // namespace
}  // namespace zk
