#include "support/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "system/FileDescriptor.h"
#include "system/Uninterrupted.h"

// Exists only in a build with coverage. Nobody else writes down what the child has covered.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the compiler's own name
extern "C" int __llvm_profile_write_file() __attribute__((weak));

namespace zk::test {

namespace {

/// Ends the child without running the parent's exit handlers.
[[noreturn]] void endChild() {
  std::fflush(nullptr);
  if (__llvm_profile_write_file != nullptr) __llvm_profile_write_file();
  ::_exit(::testing::Test::HasFailure() ? 1 : 0);
}

}  // namespace

ChildProcess::ChildProcess(const std::function<void(const TellReady&)>& body) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);

  std::fflush(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("no child process");
  if (pid_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // it does not outlive a test that is killed
    reading.reset();
    body([&writing] { writing.reset(); });
    endChild();
  }
  writing.reset();
  char word;
  uninterrupted([&] { return ::read(reading.get(), &word, sizeof word); });
}

ChildProcess::ChildProcess(const std::function<void()>& body)
    : ChildProcess([&body](const TellReady& tellReady) {
        tellReady();
        body();
      }) {}

ChildProcess::~ChildProcess() {
  if (isReaped_) return;
  ::kill(pid_, SIGKILL);
  reap();
}

void ChildProcess::signal(int number) const { ::kill(pid_, number); }

void ChildProcess::waitUntilAsleep() const {
  // The state follows the program's name, which is in parentheses.
  const auto state = [this] {
    std::ifstream file("/proc/" + std::to_string(pid_) + "/stat");
    std::string line;
    std::getline(file, line);
    return line.at(line.rfind(')') + 2);
  };
  while (std::string_view("SZ").find(state()) == std::string_view::npos) std::this_thread::yield();
}

void ChildProcess::waitUntilZombie() const {
  siginfo_t info;
  uninterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT); });
}

void ChildProcess::reap() {
  isReaped_ = uninterrupted([this] { return ::waitpid(pid_, &status_, 0); }) == pid_;
}

int ChildProcess::wait() {
  if (!isReaped_) reap();
  if (!isReaped_) throw std::runtime_error("the child process cannot be waited for");
  return WIFSIGNALED(status_) ? kEndedBySignal + WTERMSIG(status_) : WEXITSTATUS(status_);
}

int statusInChild(const std::function<void()>& body) { return ChildProcess(body).wait(); }

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
