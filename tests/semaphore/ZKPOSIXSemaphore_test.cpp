#include "ZKPOSIXSemaphore.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <map>
#include <vector>

#include "NSErrorPOSIX.h"
#include "objects/NSAutoreleasePool.h"
#include "platform/files/LanguageEnvironment.h"
#include "support/ForwardingSystem.h"
#include "support/FrequentAlarm.h"
#include "support/Memory.h"
#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"

namespace zk {
namespace {

using test::ForwardingSystem;
using test::SemaphoreName;

Ref<ZKPOSIXSemaphore> create(const SemaphoreName& name, std::size_t value = 1, bool failIfExist = false,
                             Ref<NSError>* error = nullptr) {
  return ZKPOSIXSemaphore::createWithName(name.text(), failIfExist, 0666, value, error);
}

std::string reasonOf(const Ref<NSError>& error) {
  const Ref<NSString> reason = asString(error->userInfo()->objectForKey(NSLocalizedFailureReasonErrorKey));
  return reason ? reason->bytes() : "(absent)";
}

/// Counts closes and posts, and records what sem_open was called with.
class CountingSystem : public ForwardingSystem {
 public:
  struct Open {
    std::string name;
    SemaphoreFlags flags;
    std::uint16_t mode;
    std::size_t value;
    int closesBefore;
  };

  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override {
    opens.push_back({name, flags, mode, value, closes});
    return ForwardingSystem::sem_open(name, flags, mode, value);
  }
  int sem_close(SemaphoreHandle semaphore) override {
    ++closes;
    return ForwardingSystem::sem_close(semaphore);
  }
  int sem_post(SemaphoreHandle semaphore) override {
    ++posts;
    return ForwardingSystem::sem_post(semaphore);
  }
  int sem_unlink(const char* name) override {
    unlinked.emplace_back(name);
    return ForwardingSystem::sem_unlink(name);
  }

  std::vector<Open> opens;
  std::vector<std::string> unlinked;
  int closes = 0;
  int posts = 0;
};

TEST(ZKPOSIXSemaphore, OpeningANameThatNobodyCreatedFailsWithENOENTAndItsReason) {
  const SemaphoreName name;
  Ref<NSError> error;
  EXPECT_EQ(ZKPOSIXSemaphore::openWithName(name.text(), &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_TRUE(error->domain()->isEqual(NSPOSIXErrorDomain));
  EXPECT_EQ(error->code(), 2);
  EXPECT_EQ(reasonOf(error), "Named semaphore does not exist.");
}

TEST(ZKPOSIXSemaphore, OpeningAnExistingNameSharesItsCount) {
  const SemaphoreName name;
  const auto first = create(name);
  const auto second = ZKPOSIXSemaphore::openWithName(name.text());
  ASSERT_NE(second, nullptr);
  EXPECT_TRUE(first->tryWait());
  EXPECT_FALSE(second->tryWait());
  EXPECT_TRUE(second->post());
  EXPECT_TRUE(second->tryWait());
}

TEST(ZKPOSIXSemaphore, CreatingExclusivelyFailsWithEEXISTOnAnExistingName) {
  const SemaphoreName name;
  const auto existing = create(name);
  Ref<NSError> error;
  EXPECT_EQ(create(name, 1, true, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 17);
  EXPECT_EQ(reasonOf(error), "Semaphore exists.");
}

TEST(ZKPOSIXSemaphore, CreatingExclusivelySucceedsOnANewName) {
  const SemaphoreName name;
  const auto semaphore = create(name, 3, true);
  ASSERT_NE(semaphore, nullptr);
  EXPECT_EQ(name.count(), 3);
}

TEST(ZKPOSIXSemaphore, CreatingOpensAnExistingSemaphoreWithoutResettingItsCount) {
  const SemaphoreName name;
  const auto existing = create(name, 1);
  ASSERT_TRUE(existing->wait());
  const auto again = create(name, 5);
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(name.count(), 0);
}

TEST(ZKPOSIXSemaphore, PassesOnTheFlagsModeAndValueOfEachCall) {
  CountingSystem system;
  const System::Scope scope(system);
  const SemaphoreName name;
  const auto created = ZKPOSIXSemaphore::createWithName(name.text(), false, 0640, 7);
  const auto opened = ZKPOSIXSemaphore::openWithName(name.text());
  const auto refused = ZKPOSIXSemaphore::createWithName(name.text(), true, 0600, 2);
  ASSERT_EQ(system.opens.size(), 3U);
  EXPECT_EQ(system.opens[0].name, name.bytes());
  EXPECT_EQ(system.opens[0].flags, SemaphoreFlags{0x200});
  EXPECT_EQ(system.opens[0].mode, 0640);
  EXPECT_EQ(system.opens[0].value, 7U);
  EXPECT_EQ(system.opens[1].flags, SemaphoreFlags::none);
  EXPECT_EQ(system.opens[2].flags, SemaphoreFlags{0xA00});
  EXPECT_EQ(refused, nullptr);
}

TEST(ZKPOSIXSemaphore, TryingATakenSemaphoreFailsAtOnceWithTheBusyError) {
  const SemaphoreName name;
  const auto semaphore = create(name);
  ASSERT_TRUE(semaphore->tryWait());
  Ref<NSError> error;
  EXPECT_FALSE(semaphore->tryWait(&error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 35);
  EXPECT_EQ(reasonOf(error), "The semaphore is already locked.");
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
}

TEST(ZKPOSIXSemaphore, OnlyThePOSIXErrorWithCode35IsTheBusyError) {
  EXPECT_FALSE(ZKPOSIXSemaphore::isBusyError(nullptr));
  EXPECT_FALSE(ZKPOSIXSemaphore::isBusyError(NSError::errorWithDomain(NSOSStatusErrorDomain, 35, nullptr)));
  EXPECT_FALSE(ZKPOSIXSemaphore::isBusyError(NSError::errorWithDomain(nullptr, 35, nullptr)));
  EXPECT_FALSE(ZKPOSIXSemaphore::isBusyError(POSIX::errorWithPOSIXCode(11, nullptr)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(POSIX::errorWithPOSIXCode(35, nullptr)));
  // The domain is compared as text, not as an object.
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(NSError::errorWithDomain("NSPOSIXErrorDomain"_ns, 35, nullptr)));
}

TEST(ZKPOSIXSemaphore, AFailureWithoutAPlaceForItsErrorJustReturnsFalse) {
  const SemaphoreName name;
  const auto semaphore = create(name, 0);
  EXPECT_FALSE(semaphore->tryWait());
  EXPECT_EQ(ZKPOSIXSemaphore::openWithName("no such/name"_ns), nullptr);
}

TEST(ZKPOSIXSemaphore, NoErrorIsMadeWithoutAPlaceForIt) {
  const SemaphoreName name;
  const auto semaphore = create(name, 0);
  const Ref<NSString> missing = "no-such-name"_ns;
  const std::size_t before = test::allocationCount();
  EXPECT_FALSE(semaphore->tryWait());
  EXPECT_EQ(test::allocationCount(), before);
  EXPECT_FALSE(semaphore->openWithName(missing, SemaphoreFlags::none, 0, 0));
  EXPECT_EQ(test::allocationCount(), before);
}

TEST(ZKPOSIXSemaphore, SuccessLeavesTheErrorPlaceUntouched) {
  const SemaphoreName name;
  const Ref<NSError> earlier = POSIX::errorWithPOSIXCode(5, nullptr);
  Ref<NSError> error = earlier;
  const auto semaphore = create(name, 2, false, &error);
  EXPECT_TRUE(semaphore->wait(&error));
  EXPECT_TRUE(semaphore->tryWait(&error));
  EXPECT_EQ(error, earlier);
}

TEST(ZKPOSIXSemaphore, UnlinkingAMissingNameFailsAndLeavesTheErrorPlaceUntouched) {
  const SemaphoreName name;
  const Ref<NSError> earlier = POSIX::errorWithPOSIXCode(5, nullptr);
  Ref<NSError> error = earlier;
  EXPECT_FALSE(ZKPOSIXSemaphore::unlinkName(name.text(), &error));
  EXPECT_EQ(error, earlier);
  EXPECT_FALSE(ZKPOSIXSemaphore::unlinkName(nullptr, &error));
  EXPECT_EQ(error, earlier);
}

TEST(ZKPOSIXSemaphore, UnlinkingRemovesOnlyTheName) {
  const SemaphoreName name;
  const auto semaphore = create(name);
  EXPECT_TRUE(semaphore->unlink());
  EXPECT_FALSE(name.exists());
  EXPECT_TRUE(semaphore->post());
  EXPECT_TRUE(semaphore->wait());
  EXPECT_TRUE(semaphore->wait());
  EXPECT_FALSE(semaphore->tryWait());

  const auto another = create(name);
  EXPECT_TRUE(another->tryWait()) << "a later open of the name makes a new semaphore";
}

TEST(ZKPOSIXSemaphore, AFailedOpenOfAnOpenObjectLeavesItClosedWithTheNewName) {
  const SemaphoreName name;
  const auto semaphore = create(name);
  Ref<NSError> error;
  EXPECT_FALSE(semaphore->openWithName("no-such-name"_ns, SemaphoreFlags::none, 0, 0, &error));
  EXPECT_EQ(semaphore->name()->bytes(), "no-such-name");
  EXPECT_EQ(error->code(), 2);
  EXPECT_FALSE(semaphore->post());
  Ref<NSError> waitError;
  EXPECT_FALSE(semaphore->wait(&waitError));
  EXPECT_EQ(waitError->code(), 22);
  EXPECT_EQ(reasonOf(waitError), "Not a valid semaphore descriptor.");
}

TEST(ZKPOSIXSemaphore, AnotherSuccessfulOpenReplacesAndClosesTheHandle) {
  CountingSystem system;
  const System::Scope scope(system);
  const SemaphoreName first;
  const SemaphoreName second;
  const auto semaphore = create(first);
  EXPECT_TRUE(semaphore->openWithName(second.text(), ZKO_CREAT, 0666, 1));
  EXPECT_EQ(system.closes, 1);
  EXPECT_EQ(system.opens.back().closesBefore, 1);
  EXPECT_EQ(semaphore->name()->bytes(), second.bytes());
  EXPECT_TRUE(semaphore->tryWait());
  EXPECT_EQ(first.count(), 1);
  EXPECT_EQ(second.count(), 0);
}

TEST(ZKPOSIXSemaphore, AnOpenErrorCarriesTheReasonForCreating) {
  const SemaphoreName name;
  Ref<NSError> error;
  EXPECT_EQ(create(name, std::numeric_limits<std::size_t>::max(), false, &error), nullptr);
  EXPECT_EQ(error->code(), 22);
  EXPECT_EQ(reasonOf(error), "Value exceeds SEM_VALUE_MAX.");
}

TEST(ZKPOSIXSemaphore, AFailureWithoutAReasonHasOnlyADescription) {
  class FailingSystem : public ForwardingSystem {
   public:
    SemaphoreHandle sem_open(const char*, SemaphoreFlags, std::uint16_t, std::size_t) override {
      errno = ENOENT;
      return ZKSEM_FAILED;
    }
    int sem_wait(SemaphoreHandle) override {
      errno = EPERM;
      return -1;
    }
  } system;
  const System::Scope scope(system);
  const auto expectDescriptionOnly = [](const Ref<NSError>& error, const char* description) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->userInfo()->count(), 1U);
    EXPECT_TRUE(areEqual(error->userInfo()->objectForKey(NSLocalizedDescriptionKey),
                         NSString::stringWithUTF8String(description)));
  };
  Ref<NSError> openError;
  EXPECT_EQ(ZKPOSIXSemaphore::createWithName("any"_ns, false, 0666, 1, &openError), nullptr);
  expectDescriptionOnly(openError, "No such file or directory");
  Ref<NSError> waitError;
  EXPECT_FALSE(ZKPOSIXSemaphore::init()->wait(&waitError));
  expectDescriptionOnly(waitError, "Operation not permitted");
}

TEST(ZKPOSIXSemaphore, AValueBeyondTheSystemsLimitIsRefusedAndNotCut) {
  const SemaphoreName name;
  Ref<NSError> error;
  EXPECT_EQ(create(name, (std::size_t{1} << 32) + 1, false, &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(reasonOf(error), "Value exceeds SEM_VALUE_MAX.");
}

TEST(ZKPOSIXSemaphore, TheErrorNumberSurvivesTheLookUpOfTheReason) {
  // The first failure of the process looks for translations, in the languages that are asked for: a test that runs
  // alone sees that first time.
  const test::LanguageEnvironment environment({{"LANG", "de_AT.UTF-8"}});
  const SemaphoreName name;
  const auto semaphore = create(name, 0);
  Ref<NSError> error;
  errno = 0;
  EXPECT_FALSE(semaphore->tryWait(&error));
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(error->code(), 35);
}

TEST(ZKPOSIXSemaphore, AWaitInterruptedByASignalFailsWithEINTR) {
  const SemaphoreName name;
  const auto semaphore = create(name, 0);
  Ref<NSError> error;
  {
    const test::FrequentAlarm alarm;
    EXPECT_FALSE(semaphore->wait(&error));
  }
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), ZKEINTR);
  EXPECT_EQ(reasonOf(error), "The call was interrupted by a signal.");
}

TEST(ZKPOSIXSemaphore, AnObjectMadeByInitAloneClosesNothing) {
  CountingSystem system;
  const System::Scope scope(system);
  auto semaphore = ZKPOSIXSemaphore::init();
  EXPECT_EQ(semaphore->name(), nullptr);
  semaphore = nullptr;
  EXPECT_EQ(system.closes, 0);
}

TEST(ZKPOSIXSemaphore, DestructionClosesButNeitherPostsNorUnlinks) {
  CountingSystem system;
  const System::Scope scope(system);
  const SemaphoreName name;
  auto semaphore = create(name);
  ASSERT_TRUE(semaphore->wait());
  semaphore = nullptr;
  EXPECT_EQ(system.closes, 1);
  EXPECT_EQ(system.posts, 0);
  EXPECT_TRUE(system.unlinked.empty());
  EXPECT_EQ(name.count(), 0);
}

TEST(ZKPOSIXSemaphore, AFactorysObjectLivesUntilTheScopeOfTemporaryObjectsCloses) {
  CountingSystem system;
  const System::Scope scope(system);
  const SemaphoreName name;
  {
    const NSAutoreleasePool pool;
    create(name);
    ZKPOSIXSemaphore::openWithName(name.text());
    EXPECT_EQ(system.closes, 0);
    ZKPOSIXSemaphore::initWithOpen(name.text());
    EXPECT_EQ(system.closes, 1) << "an initialiser's object belongs to the caller alone";
  }
  EXPECT_EQ(system.closes, 3);
}

TEST(ZKPOSIXSemaphore, AFailedPostReturnsFalse) {
  const auto closed = ZKPOSIXSemaphore::init();
  EXPECT_FALSE(closed->post());
}

}  // namespace
}  // namespace zk
