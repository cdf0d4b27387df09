#include "process/NSThread.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "support/ChildProcess.h"
#include "support/ForwardingSystem.h"
#include "support/FrequentAlarm.h"

namespace zk::test {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

Clock::duration timeOfSleep(double seconds) {
  const Clock::time_point begin = Clock::now();
  NSThread::sleepForTimeInterval(seconds);
  return Clock::now() - begin;
}

/// The shortest of some sleeps: a busy machine now and then keeps a process from going on.
Clock::duration timeOfShortestSleep(double seconds) {
  Clock::duration shortest = Clock::duration::max();
  for (int attempt = 0; attempt < 10; ++attempt) shortest = std::min(shortest, timeOfSleep(seconds));
  return shortest;
}

TEST(Sleep, LastsAsLongAsAsked) {
  EXPECT_GE(timeOfSleep(0.05), Milliseconds(50));
  EXPECT_GE(timeOfSleep(1.05), Milliseconds(1050));
}

TEST(Sleep, EndsAtOnceWithoutAPositiveTime) {
  for (const double seconds : {0.0, -0.0, -1.0, -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min()}) {
    EXPECT_LT(timeOfShortestSleep(seconds), Milliseconds(500)) << seconds;
  }
}

TEST(Sleep, LastsForEverWhenAskedTo) {
  for (const double seconds : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::max(), 1e13}) {
    ChildProcess process([seconds](const ChildProcess::TellReady& tellReady) {
      tellReady();
      NSThread::sleepForTimeInterval(seconds);
    });
    process.waitUntilAsleep();
    process.signal(SIGKILL);
    EXPECT_EQ(process.wait(), kEndedBySignal + SIGKILL) << seconds << ": it has not slept";
  }
}

TEST(Sleep, IsNotCutShortBySignals) {
  EXPECT_EQ(statusInChild([] {
              const FrequentAlarm alarm(1000);
              EXPECT_GE(timeOfSleep(0.1), Milliseconds(100));
            }),
            0);
}

TEST(Sleep, GoesThroughTheCurrentSystem) {
  class SleepingSystem final : public ForwardingSystem {
   public:
    void sleepForTimeInterval(double seconds) override { slept += seconds; }
    double slept = 0;
  };
  SleepingSystem system;
  const System::Scope scope(system);
  NSThread::sleepForTimeInterval(1000);
  EXPECT_EQ(system.slept, 1000);
}

}  // namespace

}  // namespace zk::test
