#include <semaphore.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "linux/ProcessFacts.h"
#include "system/Port.h"

namespace zk {

std::string port::programPath() {
  const std::optional<Executable> executable = executableOf(::getpid());
  return executable ? executable->path : std::string();
}

long port::currentThreadId() { return ::syscall(SYS_gettid); }

SystemError port::fillWithRandomBytes(void* room, std::size_t size) { return errorOf(::getentropy(room, size)); }

int port::highestSignalNumber() { return SIGRTMAX; }

void port::takeBackPending(const sigset_t& signals) {
  const timespec noTime{};
  while (::sigtimedwait(&signals, nullptr, &noTime) > 0) {
  }
}

int port::waitForSemaphore(void* semaphore, long nanoseconds) {
  constexpr long kNanosecondsPerSecond = 1'000'000'000;
  timespec end;
  ::clock_gettime(CLOCK_MONOTONIC, &end);
  end.tv_nsec += nanoseconds;
  end.tv_sec += end.tv_nsec / kNanosecondsPerSecond;
  end.tv_nsec %= kNanosecondsPerSecond;
  return ::sem_clockwait(static_cast<sem_t*>(semaphore), CLOCK_MONOTONIC, &end);
}

}  // namespace zk
