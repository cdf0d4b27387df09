#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "objects/NSString.h"
#include "system/FileDescriptor.h"

namespace zk {

/// A program that was started as a child process, in a session of its own. It goes on when this object or this process
/// ends. Used from one thread at a time.
class NSTask : public NSObject {
 public:
  /// `launchedTaskWithLaunchPath:arguments:`: starts the program at `launchPath`, as System::launchTask does; absent
  /// when it cannot be executed.
  static Ref<NSTask> launchedTaskWithLaunchPath(const Ref<NSString>& launchPath,
                                                const std::vector<std::string>& arguments);

  /// @param standardError where what the program writes to its standard error is read, without blocking
  NSTask(std::int32_t processIdentifier, FileDescriptor standardError);

  /// Whether the program still runs. Once it has ended it no longer counts among this process's children.
  virtual bool isRunning();

  /// Its exit status; 128 and the signal's number when a signal ended it; kUnknownStatus while it runs, and when
  /// another part of this process has collected it, for instance with waitpid().
  virtual int terminationStatus() const { return status_; }
  static constexpr int kUnknownStatus = -1;

  /// What the program has written to its standard error since this was last called, as far as the pipe holds it.
  virtual std::string availableErrorOutput();

  /// Ends the program and its process group at once, and waits for its end. Does nothing once it has ended.
  virtual void kill();

 private:
  void takeNoticeOfEnd(std::int32_t result, int status);

  std::int32_t processIdentifier_;
  FileDescriptor standardError_;
  bool isRunning_ = true;
  int status_ = kUnknownStatus;
};

}  // namespace zk
