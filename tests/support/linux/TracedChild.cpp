#include "support/linux/TracedChild.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

#include <stdexcept>

#include "support/ChildProcess.h"
#include "system/Uninterrupted.h"

namespace zk::test {

int statusInTracedChild(const std::function<void()>& body, const std::function<void(pid_t pid, int stop)>& atStop) {
  ChildProcess child([&](const ChildProcess::TellReady& tellReady) {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    tellReady();
    ::raise(SIGSTOP);
    body();
  });
  siginfo_t event;
  const auto isStopped = [&] {
    event.si_pid = 0;
    uninterrupted(
        [&] { return ::waitid(P_PID, static_cast<id_t>(child.pid()), &event, WEXITED | WSTOPPED | WNOWAIT); });
    if (event.si_code == CLD_EXITED || event.si_code == CLD_KILLED || event.si_code == CLD_DUMPED) return false;
    // Only the stop is consumed here; the end is left to wait().
    uninterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child.pid()), &event, WSTOPPED); });
    return true;
  };

  constexpr int kAtSystemCall = SIGTRAP | 0x80;
  if (!isStopped()) throw std::runtime_error("the child process cannot be traced");
  ::ptrace(PTRACE_SETOPTIONS, child.pid(), nullptr, PTRACE_O_TRACESYSGOOD);
  int delivered = 0;
  for (int stop = 0;;) {
    ::ptrace(PTRACE_SYSCALL, child.pid(), nullptr, delivered);
    if (!isStopped()) return child.wait();
    const bool isAtSystemCall = event.si_status == kAtSystemCall;
    delivered = isAtSystemCall ? 0 : event.si_status;
    if (isAtSystemCall) atStop(child.pid(), stop++);
  }
}

}  // namespace zk::test
