#include "objects/NSError.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "objects/NSNumber.h"
#include "objects/NSURL.h"
#include "text/Formatting.h"

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

TEST(NSError, TellsWhatWentWrongAndWhy) {
  const Ref<NSError> error =
      NSError::errorWithDomain(NSPOSIXErrorDomain, 2,
                               NSDictionary::dictionaryWithEntries({{NSLocalizedDescriptionKey, "What"_ns},
                                                                    {NSLocalizedFailureReasonErrorKey, "Why"_ns}}));
  EXPECT_EQ(error->localizedDescription()->bytes(), "What");
  EXPECT_EQ(error->localizedFailureReason()->bytes(), "Why");
}

TEST(NSError, TellsItsDomainAndCodeIfNothingSaysWhatWentWrong) {
  EXPECT_EQ(NSError(NSPOSIXErrorDomain, 105, nullptr).localizedDescription()->bytes(), "NSPOSIXErrorDomain 105");
  EXPECT_EQ(NSError(nullptr, -5, nullptr).localizedDescription()->bytes(), "(null) -5");
  EXPECT_FALSE(NSError(NSPOSIXErrorDomain, 105, nullptr).localizedFailureReason());

  const Ref<NSDictionary> noTexts =
      NSDictionary::dictionaryWithEntries({{NSLocalizedDescriptionKey, NSNumber::numberWithInt(1)},
                                           {NSLocalizedFailureReasonErrorKey, NSNumber::numberWithInt(2)}});
  EXPECT_EQ(NSError("domain"_ns, 1, noTexts).localizedDescription()->bytes(), "domain 1");
  EXPECT_FALSE(NSError("domain"_ns, 1, noTexts).localizedFailureReason());
}

TEST(NSError, IsPrintedAsOneLineWithAllThatIsKnown) {
  const auto line = [](std::vector<NSDictionary::Entry> userInfo) {
    return NSError("domain"_ns, 2, NSDictionary::dictionaryWithEntries(std::move(userInfo))).description()->bytes();
  };
  const NSDictionary::Entry what{NSLocalizedDescriptionKey, "What"_ns};
  const NSDictionary::Entry why{NSLocalizedFailureReasonErrorKey, "Why"_ns};
  const NSDictionary::Entry path{NSFilePathErrorKey, "/a path"_ns};
  const NSDictionary::Entry url{NSURLErrorKey, NSURL::fileURLWithPath("/b"_ns)};
  EXPECT_EQ(line({}), "domain 2");
  EXPECT_EQ(line({what}), "domain 2: What");
  EXPECT_EQ(line({what, why}), "domain 2: What: Why");
  EXPECT_EQ(line({what, why, path, url}), "domain 2: /a path: /b: What: Why");
  EXPECT_EQ(line({{NSFilePathErrorKey, "/a\nb\x1f\x7f\xC3\xA4"_ns}}), "domain 2: /a\\x0ab\\x1f\\x7f\xC3\xA4");
}

TEST(NSError, IsPrintedByFormatsAndStreamsAlike) {
  const Ref<NSError> error = NSError::errorWithDomain(NSPOSIXErrorDomain, 105, nullptr);
  EXPECT_EQ(stringWithFormat("%@"_ns, error)->bytes(), "NSPOSIXErrorDomain 105");
  std::ostringstream stream;
  stream << error << ", " << *error;
  EXPECT_EQ(stream.str(), "NSPOSIXErrorDomain 105, NSPOSIXErrorDomain 105");
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
