#include "process/HeldBackSignals.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <initializer_list>
#include <random>
#include <thread>

#include "system/System.h"
#include "support/ChildProcess.h"
#include "support/FrequentAlarm.h"
#include "support/SemaphoreName.h"

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

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

/// A semaphore that the child processes of a test share.
class HeldBackSignalsTest : public ::testing::Test {
 protected:
  HeldBackSignalsTest() : handle(System::current().sem_open(name.bytes().c_str(), ZKO_CREAT, 0666, 1)) {}
  ~HeldBackSignalsTest() override { System::current().sem_close(handle); }

  void take() { ASSERT_EQ(System::current().sem_trywait(handle), 0); }

  const SemaphoreName name;
  const SemaphoreHandle handle;
};

TEST_F(HeldBackSignalsTest, AreLetThroughAtFirst) {
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

TEST_F(HeldBackSignalsTest, AreLetThroughThoughTheyWereBlockedBefore) {
  EXPECT_EQ(statusInChild([] {
              sigset_t all;
              ::sigfillset(&all);
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

TEST_F(HeldBackSignalsTest, AreTheOnlyOnesHeldBack) {
  EXPECT_EQ(statusInChild([] {
              HeldBackSignals::begin();
              HeldBackSignals::holdBack();
              for (int number = 1; number < SIGRTMAX; ++number) {
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

TEST_F(HeldBackSignalsTest, LeaveAWaitToBeInterruptedByOtherSignals) {
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

TEST_F(HeldBackSignalsTest, AreHeldBackBeyondAnAttemptThatSucceeded) {
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

TEST_F(HeldBackSignalsTest, AreLeftAloneInAHost) {
  EXPECT_EQ(statusInChild([] {
              EXPECT_FALSE(HeldBackSignals::mayEndProcess());
              {
                const HeldBackSignals::Attempt attempt;
                EXPECT_TRUE(isNoneBlocked());
              }
              HeldBackSignals::holdBack();
              EXPECT_TRUE(isNoneBlocked());
              sigset_t all;
              ::sigfillset(&all);
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
    pause(30);
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
  const auto sleepingHolder = [this](int (System::*takeIt)(SemaphoreHandle)) {
    ChildProcess process([this, takeIt](const ChildProcess::TellReady& tellReady) {
      HeldBackSignals::begin();
      EXPECT_EQ((System::current().*takeIt)(handle), 0);
      tellReady();
      System::current().sleepForTimeInterval(0.1);
      EXPECT_EQ(System::current().sem_post(handle), 0);
      // Nor when it has given it back: it is on its way to its end.
      System::current().sleepForTimeInterval(0.05);
    });
    for (const int number : kSignals) process.signal(number);
    return process.wait();
  };
  EXPECT_EQ(sleepingHolder(&System::sem_wait), 0);
  EXPECT_EQ(sleepingHolder(&System::sem_trywait), 0);
  EXPECT_EQ(name.count(), 1);
}

TEST_F(HeldBackSignalsTest, DoNotEndAProcessThatHoldsOneSemaphoreAndWaitsForAnother) {
  const SemaphoreName secondName;
  const SemaphoreHandle second = System::current().sem_open(secondName.bytes().c_str(), ZKO_CREAT, 0666, 0);
  ChildProcess process([&](const ChildProcess::TellReady& tellReady) {
    HeldBackSignals::begin();
    EXPECT_EQ(System::current().sem_wait(handle), 0);
    tellReady();
    EXPECT_EQ(System::current().sem_wait(second), 0);
    EXPECT_EQ(System::current().sem_post(handle), 0);
  });
  process.signal(SIGTERM);
  pause(300);
  EXPECT_EQ(System::current().sem_post(second), 0);
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

/// How many processes are sent a signal at a time of its own, about when they take the semaphore.
constexpr int kRuns = 400;

TEST_F(HeldBackSignalsTest, NeverComeBetweenTakingAndHolding) {
  std::mt19937 random(20010101);
  std::uniform_int_distribution<int> microseconds(0, 1500);
  int ended = 0;
  int finished = 0;
  for (int run = 0; run < kRuns; ++run) {
    const bool isTaken = run % 2 == 0;
    if (isTaken) take();
    ChildProcess process([&](const ChildProcess::TellReady& tellReady) {
      HeldBackSignals::begin();
      tellReady();
      if (run % 4 < 2) {
        EXPECT_EQ(System::current().sem_wait(handle), 0);
      } else {
        while (System::current().sem_trywait(handle) != 0) System::current().sleepForTimeInterval(0.0001);
      }
      EXPECT_EQ(System::current().sem_post(handle), 0);
    });
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
    if (isTaken) {
      ASSERT_EQ(System::current().sem_post(handle), 0);
    }
    process.signal(SIGTERM);
    const int status = process.wait();
    ASSERT_TRUE(status == 0 || status == kEndedBySignal + SIGTERM) << status;
    ++(status == 0 ? finished : ended);
    // It has either never held the semaphore or given it back.
    ASSERT_EQ(name.count(), 1) << "run " << run << ", status " << status;
  }
  EXPECT_GT(ended, 0);
  EXPECT_GT(finished, 0);
}

}  // namespace

}  // namespace zk::test
