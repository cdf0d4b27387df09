#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <vector>

#include "process/HeldBackSignals.h"
#include "support/ChildProcess.h"
#include "support/SemaphoreName.h"
#include "support/linux/TracedChild.h"
#include "system/System.h"

namespace zk::test {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;

/// The number of moments before and after the system calls of a process that takes a semaphore, from its begin to the
/// second slice of its wait.
constexpr int kMoments = 16;

TEST(HeldBackSignalsOnLinux, NeverComeBetweenTakingAndHolding) {
  const SemaphoreName name;
  const SemaphoreHandle handle = System::current().sem_open(name.bytes().c_str(), ZKO_CREAT, 0666, 1);
  const auto statusWhenSignalled = [handle](int (System::*takeIt)(SemaphoreHandle), bool isFree, int moment) {
    if (!isFree) {
      EXPECT_EQ(System::current().sem_trywait(handle), 0);
    }
    return statusInTracedChild(
        [handle, takeIt] {
          HeldBackSignals::begin();
          while ((System::current().*takeIt)(handle) != 0) System::current().sleepForTimeInterval(0.001);
          EXPECT_EQ(System::current().sem_post(handle), 0);
        },
        [handle, isFree, moment](pid_t pid, int stop) {
          if (stop != moment) return;
          if (!isFree) System::current().sem_post(handle);
          ::kill(pid, SIGTERM);
        });
  };
  for (const auto takeIt : {&System::sem_wait, &System::sem_trywait}) {
    for (const bool isFree : {true, false}) {
      std::vector<int> statuses;
      for (int moment = 0; moment < kMoments; ++moment) {
        statuses.push_back(statusWhenSignalled(takeIt, isFree, moment));
        // It has either never held the semaphore or posted it.
        ASSERT_EQ(name.count(), 1) << "moment " << moment << ", status " << statuses.back();
      }
      EXPECT_THAT(statuses, Each(AnyOf(0, kEndedBySignal + SIGTERM)));
      EXPECT_THAT(statuses, Contains(0));
      EXPECT_THAT(statuses, Contains(kEndedBySignal + SIGTERM));
    }
  }
  System::current().sem_close(handle);
}

}  // namespace
}  // namespace zk::test
