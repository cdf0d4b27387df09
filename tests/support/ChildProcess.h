#pragma once

#include <sys/types.h>

#include <functional>

namespace zk::test {

/// The exit status of a process that a signal ended is this plus the signal's number.
inline constexpr int kEndedBySignal = 128;

/// A child process that runs a function of the test. It is killed and reaped with the object at the latest.
class ChildProcess {
 public:
  /// Called in the child to let its parent go on.
  using TellReady = std::function<void()>;

  /// Starts the child, and waits until it says that it is ready or has ended. The child ends when `body` returns, with
  /// status 1 if an expectation in it failed.
  explicit ChildProcess(const std::function<void(const TellReady&)>& body);
  /// The same for a child that need not be waited for.
  explicit ChildProcess(const std::function<void()>& body);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  void signal(int number) const;

  /// Waits until it sleeps inside a system call, or has ended.
  void waitUntilAsleep() const;
  /// Waits for its end without reaping it: it stays a zombie.
  void waitUntilZombie() const;
  /// Waits for its end. @return its exit status, 0 if all went well; kEndedBySignal plus the signal's number if a
  /// signal ended it
  int wait();

 private:
  void reap();

  pid_t pid_;
  bool isReaped_ = false;
  int status_ = 0;
};

/// Runs `body` in a child process, for changes that a process cannot undo. @return its exit status, as
/// ChildProcess::wait gives it
int statusInChild(const std::function<void()>& body);

}  // namespace zk::test
