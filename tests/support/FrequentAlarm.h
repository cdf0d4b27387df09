#pragma once

#include <signal.h>
#include <sys/time.h>

namespace zk::test {

/// Interrupts calls that wait, as long as the object lives: again and again, in case the first signal comes before the
/// wait has begun.
class FrequentAlarm {
 public:
  explicit FrequentAlarm(int microseconds = 10'000) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, &before_);
    const itimerval often{{0, microseconds}, {0, microseconds}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~FrequentAlarm() {
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before_, nullptr);
  }
  FrequentAlarm(const FrequentAlarm&) = delete;
  FrequentAlarm& operator=(const FrequentAlarm&) = delete;

 private:
  struct sigaction before_ {};
};

}  // namespace zk::test
