#include "darwin/MissingCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <cerrno>
#include <functional>
#include <thread>

#include "process/SignalSet.h"
#include "support/ChildProcess.h"
#include "support/SemaphoreName.h"

namespace zk::test {

namespace {

using darwin::discardPending;
using darwin::waitBriefly;

/// The longest time, in seconds, for something that would hang if it failed.
constexpr unsigned kLongestTime = 60;
constexpr long kLongTime = 600'000'000'000;
constexpr long kShortTime = 12'000'000;

class WaitBriefly : public ::testing::Test {
 protected:
  ~WaitBriefly() override { ::sem_close(semaphore); }

  SemaphoreName name;
  sem_t* semaphore = ::sem_open(name.bytes().c_str(), O_CREAT | O_EXCL, 0600, 0);
};

TEST_F(WaitBriefly, TakesAFreeSemaphoreAtOnce) {
  ::sem_post(semaphore);
  EXPECT_EQ(waitBriefly(semaphore, 0), 0);
  EXPECT_EQ(name.count(), 0);
}

TEST_F(WaitBriefly, FailsWhenTheTimeIsUp) {
  EXPECT_EQ(statusInChild([this] {
              ::alarm(kLongestTime);
              timespec before;
              timespec after;
              ::clock_gettime(CLOCK_MONOTONIC, &before);
              errno = 0;
              EXPECT_EQ(waitBriefly(semaphore, kShortTime), -1);
              EXPECT_EQ(errno, ETIMEDOUT);
              ::clock_gettime(CLOCK_MONOTONIC, &after);
              EXPECT_GE((after.tv_sec - before.tv_sec) * 1'000'000'000 + after.tv_nsec - before.tv_nsec, kShortTime);
            }),
            0);
}

TEST_F(WaitBriefly, TakesASemaphoreThatIsReleasedMeanwhile) {
  EXPECT_EQ(statusInChild([&] {
              ::alarm(kLongestTime);
              std::thread releaser([this] {
                ::usleep(20'000);
                ::sem_post(semaphore);
              });
              EXPECT_EQ(waitBriefly(semaphore, kLongTime), 0);
              releaser.join();
              EXPECT_EQ(name.count(), 0);
            }),
            0);
}

TEST_F(WaitBriefly, EndsWhenASignalIsHandled) {
  EXPECT_EQ(statusInChild([&] {
              struct sigaction action {};
              action.sa_handler = [](int) {};
              ::sigaction(SIGUSR1, &action, nullptr);
              ::alarm(kLongestTime);
              const pthread_t waiter = ::pthread_self();
              std::atomic<bool> hasEnded = false;
              // Again and again, since a signal between two pauses is not noticed.
              std::thread sender([&] {
                while (!hasEnded) {
                  ::pthread_kill(waiter, SIGUSR1);
                  ::usleep(1000);
                }
              });
              EXPECT_EQ(waitBriefly(semaphore, kLongTime), -1);
              EXPECT_EQ(errno, EINTR);
              hasEnded = true;
              sender.join();
            }),
            0);
}

bool isPending(int number) {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, number) == 1;
}

/// Runs `body` in a child process with these signals blocked.
int statusWithBlocked(const std::function<void()>& body) {
  return statusInChild([&] {
    ::alarm(kLongestTime);
    const sigset_t blocked = signalSet({SIGPIPE, SIGTTOU, SIGUSR1});
    ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    body();
  });
}

TEST(DiscardPending, TakesWhatIsPendingForTheThreadOrTheProcess) {
  EXPECT_EQ(statusWithBlocked([] {
              ::pthread_kill(::pthread_self(), SIGPIPE);
              ::kill(::getpid(), SIGTTOU);
              EXPECT_TRUE(isPending(SIGPIPE) && isPending(SIGTTOU));
              discardPending(signalSet({SIGPIPE, SIGTTOU}));
              EXPECT_FALSE(isPending(SIGPIPE) || isPending(SIGTTOU));
            }),
            0);
}

TEST(DiscardPending, LeavesTheOthers) {
  EXPECT_EQ(statusWithBlocked([] {
              ::pthread_kill(::pthread_self(), SIGUSR1);
              discardPending(signalSet({SIGPIPE, SIGTTOU}));
              EXPECT_TRUE(isPending(SIGUSR1));
            }),
            0);
}

TEST(DiscardPending, DoesNotWaitIfNothingIsPending) {
  EXPECT_EQ(statusWithBlocked([] { discardPending(signalSet({SIGPIPE, SIGTTOU})); }), 0);
}

TEST(DiscardPending, DoesNotWaitIfAnotherThreadIsFaster) {
  EXPECT_EQ(statusWithBlocked([] {
              // Both threads see the one signal of each round, and one of them takes it.
              std::barrier start(2, []() noexcept { ::kill(::getpid(), SIGPIPE); });
              const auto discard = [&start] {
                for (int round = 0; round < 5000; ++round) {
                  start.arrive_and_wait();
                  discardPending(signalSet({SIGPIPE}));
                }
              };
              std::thread other(discard);
              discard();
              other.join();
            }),
            0);
}

}  // namespace

}  // namespace zk::test
