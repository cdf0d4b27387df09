#include "linux/ProcessExistence.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "linux/ProcFile.h"
#include "system/FileDescriptor.h"

namespace zk {

namespace {

/// Whether the line "Tgid:" of a status file names `pid` itself: that of a thread names its process.
bool isProcessNotThread(const std::string& status, std::int32_t pid) {
  const std::string line = "\nTgid:\t" + std::to_string(pid) + "\n";
  return status.find(line) != std::string::npos;
}

/// What a signal that is not sent tells, also of processes that /proc hides; but a zombie still exists to it. Sent to
/// the first thread of the process `pid`, it finds none where the id is another thread's.
Existence existenceBySignal(std::int32_t pid) {
  if (::syscall(SYS_tgkill, pid, pid, 0) == 0 || errno == EPERM) return Existence::exists;
  return errno == ESRCH ? Existence::gone : Existence::unknown;
}

/// Whether a call failed because this process, or the system, has no more of something: it then tells nothing.
bool isLackingMeans(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

}  // namespace

Existence existenceOf(std::int32_t pid) {
  // 0 and negative ids name groups and the caller itself to some calls; here they name nothing.
  if (pid <= 0) return Existence::gone;

  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  if (!process.isOpen()) {
    const bool isThreadOrNone = errno == ESRCH || errno == ENOENT || errno == EINVAL;
    // Where only the means are lacking, they are lacking there, too.
    return isThreadOrNone ? Existence::gone : existenceByProc(pid);
  }
  // Readable once the last thread has ended, whether or not the parent has asked for the exit status.
  pollfd exit{process.get(), POLLIN, 0};
  const int count = ::poll(&exit, 1, 0);
  if (count < 0) return existenceByProc(pid);
  return count == 0 ? Existence::exists : Existence::gone;
}

Existence existenceByProc(std::int32_t pid) {
  if (pid <= 0) return Existence::gone;
  const std::optional<std::string> status = readProcFile(procFolder(pid) + "/status");
  const std::optional<std::string> stat = status ? readProcFile(procFolder(pid) + "/stat") : std::nullopt;
  // Hidden, gone since its file was opened, or never there.
  if (!stat) return isLackingMeans(errno) ? Existence::unknown : existenceBySignal(pid);
  if (!isProcessNotThread(*status, pid)) return Existence::gone;

  const std::optional<std::string> state = statField(*stat, kStatState);
  const std::optional<std::string> threads = statField(*stat, kStatThreadCount);
  if (!state || !threads) return Existence::unknown;
  // A first thread that has ended is a zombie for as long as others of its process run.
  const bool hasFirstThreadEnded = *state == "Z" || *state == "X";
  const bool isAnyThreadLeft = *threads != "0" && *threads != "1";
  return hasFirstThreadEnded && !isAnyThreadLeft ? Existence::gone : Existence::exists;
}

}  // namespace zk
