#include "support/ChildProcess.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <thread>

#include "support/Pipe.h"
#include "support/System.h"
#include "system/Uninterrupted.h"

// A build with coverage has another definition, which this one gives way to. Nobody else writes down what the child has
// covered.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the compiler's own name
extern "C" __attribute__((weak)) int __llvm_profile_write_file() { return 0; }

namespace zk::test {

namespace {

/// Ends the child without running the parent's exit handlers.
[[noreturn]] void endChild() {
  std::fflush(nullptr);
  __llvm_profile_write_file();
  ::_exit(::testing::Test::HasFailure() ? 1 : 0);
}

}  // namespace

ChildProcess::ChildProcess(const std::function<void(const TellReady&)>& body) {
  Pipe pipe;
  std::fflush(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("no child process");
  if (pid_ == 0) {
    endWithParent();
    pipe.reading.reset();
    body([&pipe] { pipe.writing.reset(); });
    endChild();
  }
  pipe.writing.reset();
  char word;
  uninterrupted([&] { return ::read(pipe.reading.get(), &word, sizeof word); });
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
  while (!isAsleep(pid_)) std::this_thread::yield();
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

}  // namespace zk::test
