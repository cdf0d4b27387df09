#include "process/HeldBackSignals.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <vector>

#include "support/ChildProcess.h"
#include "support/FrequentAlarm.h"
#include "support/SemaphoreName.h"
#include "system/Port.h"
#include "system/System.h"

namespace zk::test {

namespace {

constexpr std::initializer_list<int> kSignals = {SIGINT, SIGTERM, SIGQUIT};

bool isBlocked(int number) {
  sigset_t set;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &set);
  return sigismember(&set, number) == 1;
}

bool areAllBlocked() { return isBlocked(SIGINT) && isBlocked(SIGTERM) && isBlocked(SIGQUIT); }
bool isNoneBlocked() { return !isBlocked(SIGINT) && !isBlocked(SIGTERM) && !isBlocked(SIGQUIT); }

/// A semaphore that the child processes of a test share.
class HeldBackSignalsTest : public ::testing::Test {
 protected:
  HeldBackSignalsTest() : handle(System::current().sem_open(name.bytes().c_str(), ZKO_CREAT, 0666, 1)) {}
  ~HeldBackSignalsTest() override { System::current().sem_close(handle); }

  void take() { ASSERT_EQ(System::current().sem_trywait(handle), 0); }

  const SemaphoreName name;
  const SemaphoreHandle handle;
};

TEST_F(HeldBackSignalsTest, EndTheProcessAtFirst) {
  for (const int number : kSignals) {
    EXPECT_EQ(statusInChild([number] {
                HeldBackSignals::begin();
                EXPECT_TRUE(HeldBackSignals::mayEndProcess());
                EXPECT_TRUE(isNoneBlocked());
                ::raise(number);
              }),
              kEndedBySignal + number);
  }
}

TEST_F(HeldBackSignalsTest, EndTheProcessEvenIfTheyWereBlockedBefore) {
  EXPECT_EQ(statusInChild([] {
              sigset_t all;
              sigfillset(&all);
              ::sigprocmask(SIG_SETMASK, &all, nullptr);
              HeldBackSignals::begin();
              ::raise(SIGTERM);
            }),
            kEndedBySignal + SIGTERM);
}

TEST_F(HeldBackSignalsTest, AreHeldBackToTheEnd) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              HeldBackSignals::holdBack();
              for (const int number : kSignals) ::raise(number);
              EXPECT_FALSE(HeldBackSignals::mayEndProcess());
              { const HeldBackSignals::Attempt attempt; }
              EXPECT_TRUE(areAllBlocked());
            }),
            0);
}

TEST_F(HeldBackSignalsTest, AreTheOnlySignalsHeldBack) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              HeldBackSignals::holdBack();
              for (int number = 1; number < port::highestSignalNumber(); ++number) {
                const bool isOneOfThem = number == SIGINT || number == SIGTERM || number == SIGQUIT;
                EXPECT_EQ(isBlocked(number), isOneOfThem) << number;
              }
            }),
            0);
}

TEST_F(HeldBackSignalsTest, WaitForTheEndOfAnAttempt) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              const HeldBackSignals::Attempt attempt;
              ::raise(SIGINT);
              ::_exit(0);
            }),
            0);
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              {
                const HeldBackSignals::Attempt attempt;
                ::raise(SIGINT);
              }
              ::_exit(0);
            }),
            kEndedBySignal + SIGINT);
}

TEST_F(HeldBackSignalsTest, DoNotKeepOtherSignalsFromInterruptingAWait) {
  take();
  EXPECT_EQ(statusInChild([this] {
              HeldBackSignals::begin();
              const FrequentAlarm alarm;
              EXPECT_EQ(System::current().sem_wait(handle), -1);
              EXPECT_EQ(errno, EINTR);
            }),
            0);
  EXPECT_EQ(name.count(), 0);
}

TEST_F(HeldBackSignalsTest, AreStillHeldBackAfterASuccessfulAttempt) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              {
                const HeldBackSignals::Attempt attempt;
                HeldBackSignals::holdBack();
              }
              ::raise(SIGINT);
            }),
            0);
}

TEST_F(HeldBackSignalsTest, AreNotHeldBackInAHost) {
  EXPECT_EQ(statusInChild([] {
              EXPECT_FALSE(HeldBackSignals::mayEndProcess());
              {
                const HeldBackSignals::Attempt attempt;
                EXPECT_TRUE(isNoneBlocked());
              }
              HeldBackSignals::holdBack();
              EXPECT_TRUE(isNoneBlocked());
              sigset_t all;
              sigfillset(&all);
              ::sigprocmask(SIG_SETMASK, &all, nullptr);
              { const HeldBackSignals::Attempt attempt; }
              EXPECT_TRUE(areAllBlocked());
            }),
            0);
}

TEST_F(HeldBackSignalsTest, EndAProcessThatWaitsForItsFirstSemaphore) {
  take();
  for (const int number : kSignals) {
    ChildProcess process([this](const ChildProcess::TellReady& tellReady) {
      HeldBackSignals::begin();
      tellReady();
      System::current().sem_wait(handle);
    });
    process.waitUntilAsleep();
    process.signal(number);
    EXPECT_EQ(process.wait(), kEndedBySignal + number);
  }
  EXPECT_EQ(name.count(), 0) << "a wait that has ended has changed the count";
}

TEST_F(HeldBackSignalsTest, EndAProcessThatSleepsAndHoldsNothing) {
  ChildProcess process([](const ChildProcess::TellReady& tellReady) {
    HeldBackSignals::begin();
    tellReady();
    System::current().sleepForTimeInterval(60);
  });
  process.waitUntilAsleep();
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), kEndedBySignal + SIGTERM);
}

TEST_F(HeldBackSignalsTest, EndAProcessWhoseTryFailed) {
  take();
  EXPECT_EQ(statusInChild([this] {
              HeldBackSignals::begin();
              EXPECT_EQ(System::current().sem_trywait(handle), -1);
              ::raise(SIGTERM);
            }),
            kEndedBySignal + SIGTERM);
}

TEST_F(HeldBackSignalsTest, DoNotEndAProcessThatHasTakenASemaphore) {
  for (const auto takeIt : {&System::sem_wait, &System::sem_trywait}) {
    EXPECT_EQ(statusInChild([this, takeIt] {
                HeldBackSignals::begin();
                EXPECT_EQ((System::current().*takeIt)(handle), 0);
                for (const int number : kSignals) ::raise(number);
                EXPECT_EQ(System::current().sem_post(handle), 0);
                // Nor do they end it once it has posted the semaphore: it is about to end anyway.
                for (const int number : kSignals) ::raise(number);
              }),
              0);
  }
  EXPECT_EQ(name.count(), 1);
}

TEST_F(HeldBackSignalsTest, DoNotEndAProcessThatHoldsOneSemaphoreAndWaitsForAnother) {
  const SemaphoreName secondName;
  const SemaphoreHandle second = System::current().sem_open(secondName.bytes().c_str(), ZKO_CREAT, 0666, 0);
  ChildProcess process([&](const ChildProcess::TellReady& tellReady) {
    HeldBackSignals::begin();
    struct sigaction interrupting {};
    interrupting.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &interrupting, nullptr);
    EXPECT_EQ(System::current().sem_wait(handle), 0);
    tellReady();
    EXPECT_EQ(System::current().sem_wait(second), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(System::current().sem_post(handle), 0);
  });
  process.waitUntilAsleep();
  process.signal(SIGTERM);
  // Another signal ends the wait.
  process.signal(SIGUSR1);
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(name.count(), 1);
  System::current().sem_close(second);
}

TEST_F(HeldBackSignalsTest, DoNotEndAProcessThatHasMadeAFileManager) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              System::current().makeFileManager();
              for (const int number : kSignals) ::raise(number);
              EXPECT_TRUE(areAllBlocked());
            }),
            0);
}

}  // namespace

}  // namespace zk::test
