#include "darwin/MissingCalls.h"

#include <time.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "process/SignalSet.h"

namespace zk::darwin {

namespace {

/// How long to sleep between two attempts, in nanoseconds. A release is noticed that much later.
constexpr long kPause = 5'000'000;

}  // namespace

void discardPending(const sigset_t& signals) {
  // sigwait() waits if another thread was faster. So only one thread at a time looks and takes.
  static std::mutex oneAtATime;
  const std::lock_guard lock(oneAtATime);
  for (int number = 1; number < NSIG; ++number) {
    if (sigismember(&signals, number) != 1) continue;
    sigset_t pending;
    sigpending(&pending);
    if (sigismember(&pending, number) != 1) continue;
    const sigset_t one = signalSet({number});
    int taken = 0;
    ::sigwait(&one, &taken);
  }
}

int waitBriefly(sem_t* semaphore, long nanoseconds) {
  while (true) {
    if (::sem_trywait(semaphore) == 0) return 0;
    if (errno != EAGAIN) return -1;
    if (nanoseconds <= 0) {
      errno = ETIMEDOUT;
      return -1;
    }
    const timespec pause{0, std::min(nanoseconds, kPause)};
    if (::nanosleep(&pause, nullptr) != 0) return -1;
    nanoseconds -= pause.tv_nsec;
  }
}

}  // namespace zk::darwin
