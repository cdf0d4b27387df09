#include "process/NSTask.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "system/System.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

constexpr int kEndedBySignal = 128;

}  // namespace

Ref<NSTask> NSTask::launchedTaskWithLaunchPath(const Ref<NSString>& launchPath,
                                               const std::vector<std::string>& arguments) {
  return System::current().launchTask(fileSystemRepresentation(launchPath), arguments);
}

NSTask::NSTask(std::int32_t processIdentifier, FileDescriptor standardError)
    : processIdentifier_(processIdentifier), standardError_(std::move(standardError)) {}

bool NSTask::isRunning() {
  if (!isRunning_) return false;
  int status = 0;
  const pid_t result = uninterrupted([&] { return ::waitpid(processIdentifier_, &status, WNOHANG); });
  if (result != 0) takeNoticeOfEnd(result, status);
  return isRunning_;
}

std::string NSTask::availableErrorOutput() {
  std::string output;
  char room[4096];
  while (true) {
    const ssize_t count = uninterrupted([&] { return ::read(standardError_.get(), room, sizeof room); });
    if (count <= 0) return output;
    output.append(room, static_cast<std::size_t>(count));
  }
}

void NSTask::kill() {
  if (!isRunning()) return;
  // It leads a group of its own, which is named by its id. That cannot have become another's: it is not reaped yet.
  ::kill(-processIdentifier_, SIGKILL);
  int status = 0;
  const pid_t result = uninterrupted([&] { return ::waitpid(processIdentifier_, &status, 0); });
  takeNoticeOfEnd(result, status);
}

void NSTask::takeNoticeOfEnd(std::int32_t result, int status) {
  isRunning_ = false;
  if (result != processIdentifier_) return;
  status_ = WIFSIGNALED(status) ? kEndedBySignal + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace zk
