#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <functional>

#include "NSErrorPOSIX.h"
#include "ZKPOSIXSemaphore.h"
#include "objects/NSDate.h"
#include "objects/NSNumber.h"
#include "support/ForwardingSystem.h"
#include "support/Memory.h"
#include "support/SemaphoreName.h"
#include "support/TemporaryFolder.h"

namespace zk {
namespace {

using test::FailingAllocation;
using test::ForwardingSystem;
using test::SemaphoreName;
using test::TemporaryFolder;

/// Uses real semaphores, counts the tries, records sleeps instead of making them, and can act at each sleep.
class WatchingSystem : public ForwardingSystem {
 public:
  static constexpr int kMostTries = 10'000;

  int sem_trywait(SemaphoreHandle semaphore) override {
    ++tries;
    if (tries > kMostTries) {
      ADD_FAILURE() << "the wait goes on for ever";
      errno = EINVAL;
      return -1;
    }
    if (beforeTry) beforeTry();
    return ForwardingSystem::sem_trywait(semaphore);
  }
  int sem_unlink(const char* name) override {
    ++unlinks;
    if (refusesUnlink) {
      errno = EACCES;
      return -1;
    }
    return ForwardingSystem::sem_unlink(name);
  }
  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override {
    opens.push_back({flags, mode, value});
    if (beforeOpen) beforeOpen();
    if (refusesOpen) {
      errno = EMFILE;
      return ZKSEM_FAILED;
    }
    return ForwardingSystem::sem_open(name, flags, mode, value);
  }
  void sleepForTimeInterval(double seconds) override {
    sleeps.push_back(seconds);
    if (atSleep) atSleep();
  }

  struct Open {
    SemaphoreFlags flags;
    std::uint16_t mode;
    std::size_t value;
  };

  int tries = 0;
  int unlinks = 0;
  bool refusesUnlink = false;
  bool refusesOpen = false;
  std::vector<Open> opens;
  std::vector<double> sleeps;
  std::function<void()> beforeTry;
  std::function<void()> beforeOpen;
  std::function<void()> atSleep;
};

/// Knows no process at all.
class NobodySystem : public WatchingSystem {
 public:
  OSStatusCode GetProcessForPID(std::int32_t, ProcessSerialNumber&) override { return procNotFound; }
};

class GuardedWait : public testing::Test {
 protected:
  void take() {
    ASSERT_TRUE(holder->tryWait());
    system.tries = 0;
  }
  void leaveText(const std::string& text) { test::writeFile(recordPath(), text); }
  std::filesystem::path recordPath() const { return folder / ("." + name.bytes() + ".semaphore"); }
  bool isRecordThere() const { return std::filesystem::exists(recordPath()); }

  /// A record, in the XML form, of the running test or of a process that has exited.
  void leaveLiveRecord() { leaveXML(::getpid()); }
  void leaveDeadRecord() { leaveXML(deadPid()); }
  void leaveXML(pid_t pid) {
    leaveText("<plist version=\"1.0\"><dict><key>pid</key><integer>" + std::to_string(pid) +
              "</integer></dict></plist>");
  }
  static pid_t deadPid() {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return child;
  }

  bool waitGuarded(std::size_t maxAttempts, const ZKPOSIXSemaphore::WaitBlock& waitBlock = nullptr) {
    return semaphore->waitWithProcessInfo(folder.url(), maxAttempts, 0.1, &error, waitBlock);
  }

  WatchingSystem system;
  System::Scope scope{system};
  TemporaryFolder folder;
  SemaphoreName name;
  Ref<ZKPOSIXSemaphore> holder = ZKPOSIXSemaphore::initWithCreate(name.text(), false, 0666, 1);
  Ref<ZKPOSIXSemaphore> semaphore = ZKPOSIXSemaphore::initWithCreate(name.text(), false, 0666, 1);
  const Ref<NSError> untouched = POSIX::errorWithPOSIXCode(5, nullptr);
  Ref<NSError> error = untouched;
};

TEST_F(GuardedWait, TakesAFreeSemaphoreAtTheFirstTryAndLeavesTheCallersRecord) {
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_EQ(system.tries, 1);
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_EQ(name.count(), 0);
  EXPECT_TRUE(areEqual(semaphore->processInfoAtURL(folder.url()), ZKPOSIXSemaphore::currentProcessInfo()));
}

TEST_F(GuardedWait, TakesAFreeSemaphoreAndReplacesAGarbageRecord) {
  leaveText("garbage {{{");
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_TRUE(areEqual(semaphore->processInfoAtURL(folder.url()), ZKPOSIXSemaphore::currentProcessInfo()));
}

TEST_F(GuardedWait, SucceedsEvenIfItsRecordCannotBeWritten) {
  EXPECT_TRUE(semaphore->waitWithProcessInfo(folder.url("missing"), 0, 0.1, &error));
  EXPECT_EQ(name.count(), 0);
}

TEST_F(GuardedWait, LeavesTheErrorPlaceUntouchedWhenItSucceedsAfterBusyTries) {
  take();
  leaveLiveRecord();
  system.atSleep = [this] {
    if (system.sleeps.size() == 3) holder->post();
  };
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_EQ(system.sleeps.size(), 3U);
  EXPECT_EQ(system.tries, 4);
  EXPECT_EQ(error, untouched);
}

TEST_F(GuardedWait, SleepsTheIntervalBetweenTries) {
  take();
  leaveLiveRecord();
  EXPECT_FALSE(semaphore->waitWithProcessInfo(folder.url(), 2, 0.25, &error));
  EXPECT_EQ(system.sleeps, (std::vector<double>{0.25, 0.25}));
}

TEST_F(GuardedWait, GivesUpOnALivingHolderAfterAThousandPausesAndOneMoreTry) {
  take();
  leaveLiveRecord();
  EXPECT_FALSE(waitGuarded(1000));
  EXPECT_EQ(system.sleeps.size(), 1000U);
  EXPECT_EQ(system.tries, 1001);
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
  EXPECT_EQ(system.unlinks, 0);
  EXPECT_TRUE(isRecordThere());
}

TEST_F(GuardedWait, TakesOverFromAHolderWithoutARecordAtTheThousandAndFirstTry) {
  take();
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_EQ(system.sleeps.size(), 1000U);
  EXPECT_EQ(system.unlinks, 1);
  EXPECT_EQ(system.tries, 1002) << "the last one takes the new semaphore";
}

TEST_F(GuardedWait, WithNoAttemptsFailsAtOnceOnALivingHolder) {
  take();
  leaveLiveRecord();
  EXPECT_FALSE(waitGuarded(0));
  EXPECT_EQ(system.tries, 1);
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
}

TEST_F(GuardedWait, WithNoAttemptsTakesOverFromAHolderWithoutARecord) {
  take();
  EXPECT_TRUE(waitGuarded(0));
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_EQ(system.unlinks, 1);
}

TEST_F(GuardedWait, WithNoAttemptsTakesOverFromAHolderThatHasExited) {
  take();
  leaveDeadRecord();
  EXPECT_TRUE(waitGuarded(0));
  EXPECT_EQ(system.unlinks, 1);
}

TEST_F(GuardedWait, TakesOverFromAHolderThatHasExitedAtTheFirstBusyTry) {
  take();
  leaveDeadRecord();
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_EQ(system.tries, 2);
}

TEST_F(GuardedWait, WithoutALimitWaitsForALivingHolderForAsLongAsItTakes) {
  take();
  leaveLiveRecord();
  system.atSleep = [this] {
    if (system.sleeps.size() == 5000) holder->post();
  };
  EXPECT_TRUE(waitGuarded(ZKPOSIXSemaphore::kNoLimit));
  EXPECT_EQ(system.sleeps.size(), 5000U);
}

TEST_F(GuardedWait, AWaitBlockThatRefusesAtItsFirstCallEndsTheWaitWithECANCELEDAndNoReason) {
  take();
  leaveLiveRecord();
  std::vector<std::pair<std::size_t, double>> calls;
  EXPECT_FALSE(waitGuarded(1000, [&](std::size_t attempt, double interval) {
    calls.emplace_back(attempt, interval);
    return false;
  }));
  EXPECT_EQ(calls, (std::vector<std::pair<std::size_t, double>>{{1, 0.1}}));
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_TRUE(areEqual(error, POSIX::errorWithPOSIXCode(89, nullptr)));
  EXPECT_EQ(error->userInfo()->count(), 1U);
}

TEST_F(GuardedWait, AWaitBlockIsCalledInPlaceOfEachPause) {
  take();
  leaveLiveRecord();
  std::vector<std::size_t> attempts;
  EXPECT_FALSE(waitGuarded(3, [&](std::size_t attempt, double) {
    attempts.push_back(attempt);
    return true;
  }));
  EXPECT_EQ(attempts, (std::vector<std::size_t>{1, 2, 3}));
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
}

TEST_F(GuardedWait, ATakeOverMakesANewSemaphoreUnderTheNameAndLeavesTheCallersRecord) {
  take();
  leaveDeadRecord();
  system.opens.clear();
  EXPECT_TRUE(waitGuarded(1000));
  ASSERT_EQ(system.opens.size(), 1U);
  EXPECT_EQ(system.opens[0].flags, SemaphoreFlags{0x200});
  EXPECT_EQ(system.opens[0].mode, 0666);
  EXPECT_EQ(system.opens[0].value, 1U);

  EXPECT_EQ(name.count(), 0) << "the new semaphore is taken";
  holder->post();
  EXPECT_EQ(name.count(), 0) << "the old one is another";
  EXPECT_TRUE(areEqual(semaphore->processInfoAtURL(folder.url()), ZKPOSIXSemaphore::currentProcessInfo()));
  EXPECT_EQ(error, untouched);
}

TEST_F(GuardedWait, ATakeOverRemovesTheNameThenTheRecordAndThenMakesTheNewSemaphore) {
  take();
  leaveDeadRecord();
  // Any later, a record may be the next holder's.
  bool wasNameThere = true;
  bool wasRecordThere = true;
  system.beforeOpen = [&] {
    wasNameThere = name.exists();
    wasRecordThere = isRecordThere();
  };
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_FALSE(wasNameThere);
  EXPECT_FALSE(wasRecordThere);
}

TEST_F(GuardedWait, ATakeOverThatCannotRemoveTheNameFailsWithTheBusyError) {
  take();
  leaveDeadRecord();
  system.refusesUnlink = true;
  EXPECT_FALSE(waitGuarded(1000));
  EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
  EXPECT_TRUE(isRecordThere());
  system.refusesUnlink = false;
}

TEST_F(GuardedWait, ATakeOverThatCannotOpenFailsWithTheOpenErrorAndLeavesTheObjectClosed) {
  take();
  leaveDeadRecord();
  system.refusesOpen = true;
  EXPECT_FALSE(waitGuarded(1000));
  system.refusesOpen = false;
  EXPECT_EQ(error->code(), 24);
  EXPECT_FALSE(semaphore->post());
  EXPECT_FALSE(isRecordThere());
}

TEST_F(GuardedWait, ASemaphoreTakenByOthersRightAfterATakeOverIsTakenOverAgainWithoutAPause) {
  take();
  // Before its second and its third try somebody else takes the new semaphore and leaves no record.
  system.beforeTry = [this] {
    if (system.tries != 2 && system.tries != 3) return;
    sem_t* fresh = ::sem_open(name.bytes().c_str(), 0);
    ASSERT_NE(fresh, SEM_FAILED);
    EXPECT_EQ(::sem_trywait(fresh), 0);
    ::sem_close(fresh);
  };
  EXPECT_TRUE(waitGuarded(0));
  EXPECT_EQ(system.unlinks, 3);
  EXPECT_TRUE(system.sleeps.empty());
}

TEST_F(GuardedWait, ATakeOverDoesNotChangeTheNumberOfPauses) {
  take();
  // The pauses are used up when it takes over from the first holder. Before the next try somebody else takes the new
  // semaphore and leaves no record either.
  system.beforeTry = [this] {
    if (system.tries != 4) return;
    sem_t* fresh = ::sem_open(name.bytes().c_str(), 0);
    ASSERT_NE(fresh, SEM_FAILED);
    EXPECT_EQ(::sem_trywait(fresh), 0);
    ::sem_close(fresh);
  };
  EXPECT_TRUE(waitGuarded(2));
  EXPECT_EQ(system.unlinks, 2);
  EXPECT_EQ(system.sleeps.size(), 2U);
}

TEST_F(GuardedWait, ATakeOverWithPausesLeftGoesOnPausingAfterwards) {
  take();
  leaveDeadRecord();
  // A living process takes the new semaphore first, and gives it back at the second pause.
  Ref<ZKPOSIXSemaphore> other;
  system.beforeTry = [&] {
    if (system.tries != 2) return;
    system.beforeTry = nullptr;
    other = ZKPOSIXSemaphore::initWithOpen(name.text());
    other->tryWait();
    leaveLiveRecord();
  };
  system.atSleep = [&] {
    if (system.sleeps.size() == 2) other->post();
  };
  EXPECT_TRUE(waitGuarded(2));
  EXPECT_EQ(system.sleeps.size(), 2U);
}

TEST_F(GuardedWait, AFailureOtherThanBusyEndsTheWaitWithThatFailure) {
  semaphore->openWithName("no-such-name"_ns, SemaphoreFlags::none, 0, 0);
  EXPECT_FALSE(waitGuarded(1000));
  EXPECT_EQ(error->code(), 22);
  EXPECT_TRUE(system.sleeps.empty());
}

TEST_F(GuardedWait, AFailureWithoutAPlaceForItsErrorJustReturnsFalse) {
  take();
  leaveLiveRecord();
  EXPECT_FALSE(semaphore->waitWithProcessInfo(folder.url(), 0, 0.1));
}

TEST_F(GuardedWait, WithoutADirectoryPollsAndTakesOverOnceItsPausesAreUsedUp) {
  take();
  leaveLiveRecord();
  EXPECT_TRUE(semaphore->waitWithProcessInfo(nullptr, 4, 0.1, &error));
  EXPECT_EQ(system.sleeps.size(), 4U);
  EXPECT_EQ(system.unlinks, 1);
  EXPECT_TRUE(isRecordThere()) << "no record is deleted or written";
}

TEST_F(GuardedWait, KeepsWaitingIfTheFileIsNotARecord) {
  // Where no process exists, each of them would be taken for the record of one that is gone.
  NobodySystem nobody;
  const System::Scope inner(nobody);
  take();
  for (const char* text :
       {"", "garbage {{{", "(1, 2)", "{pid = text;}", "<plist><dict><key>pid</key><real>1</real></dict></plist>",
        "<plist><dict><key>pid</key><real>1.5</real></dict></plist>",
        "<plist><dict><key>pid</key><true/></dict></plist>", "<plist><dict><key>pid</key><false/></dict></plist>"}) {
    leaveText(text);
    nobody.sleeps.clear();
    nobody.atSleep = [&] {
      if (nobody.sleeps.size() == 2) holder->post();
    };
    EXPECT_TRUE(waitGuarded(1000)) << text;
    EXPECT_EQ(nobody.sleeps.size(), 2U) << text;
  }
  EXPECT_EQ(nobody.unlinks, 0);
}

TEST_F(GuardedWait, TakesOverIfTheRecordHasNoPid) {
  take();
  leaveText("{bundleId = \"com.example\";}");
  EXPECT_TRUE(waitGuarded(1000));
  EXPECT_TRUE(system.sleeps.empty());
  EXPECT_EQ(system.unlinks, 1);
}

TEST_F(GuardedWait, LooksTheRecordedProcessUpOnceForEachBusyTry) {
  class CountingLookUps : public WatchingSystem {
   public:
    OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override {
      ++lookUps;
      return WatchingSystem::GetProcessForPID(pid, process);
    }
    int lookUps = 0;
  } counting;
  const System::Scope inner(counting);
  take();
  leaveLiveRecord();
  EXPECT_FALSE(waitGuarded(5));
  EXPECT_EQ(counting.lookUps, 6);
}

TEST_F(GuardedWait, PostingDeletesTheRecordAndThenGivesTheSemaphoreBack) {
  class OrderSystem : public ForwardingSystem {
   public:
    explicit OrderSystem(std::filesystem::path record) : record_(std::move(record)) {}
    int sem_post(SemaphoreHandle semaphore) override {
      wasRecordThere = std::filesystem::exists(record_);
      return ForwardingSystem::sem_post(semaphore);
    }
    bool wasRecordThere = true;

   private:
    std::filesystem::path record_;
  } order(recordPath());
  ASSERT_TRUE(waitGuarded(0));
  const System::Scope inner(order);
  EXPECT_TRUE(semaphore->postWithProcessInfo(folder.url()));
  EXPECT_FALSE(order.wasRecordThere);
  EXPECT_EQ(name.count(), 1);
}

TEST_F(GuardedWait, PostingWithoutARecordGivesTheSemaphoreBackAndReturnsFalse) {
  take();
  EXPECT_FALSE(semaphore->postWithProcessInfo(folder.url()));
  EXPECT_EQ(name.count(), 1);
}

TEST_F(GuardedWait, PostingGivesTheSemaphoreBackEvenWithoutMemoryToRemoveTheRecord) {
  ASSERT_TRUE(waitGuarded(0));
  const Ref<NSURL> directory = folder.url();
  bool isPosted;
  {
    const FailingAllocation failing(0, FailingAllocation::How::fromThenOn);
    isPosted = semaphore->postWithProcessInfo(directory);
    EXPECT_TRUE(failing.hasFailed());
  }
  EXPECT_FALSE(isPosted);
  EXPECT_TRUE(isRecordThere());
  EXPECT_EQ(name.count(), 1);
}

TEST_F(GuardedWait, AFailedPostReturnsFalseEvenIfTheRecordWasDeleted) {
  leaveLiveRecord();
  const auto closed = ZKPOSIXSemaphore::init();
  closed->openWithName(name.text(), ZKO_CREAT | ZKO_EXCL, 0666, 1);
  EXPECT_FALSE(closed->postWithProcessInfo(folder.url()));
  EXPECT_FALSE(isRecordThere());
}

}  // namespace
}  // namespace zk
