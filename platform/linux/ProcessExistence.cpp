#include "linux/ProcessExistence.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "linux/ProcFile.h"
#include "system/FileDescriptor.h"

namespace zk {

using port::Existence;

namespace {

/// Whether the line "Tgid:" of a status file names `pid` itself. In a thread's file it names the process instead.
bool isProcessNotThread(const std::string& status, std::int32_t pid) {
  const std::string line = "\nTgid:\t" + std::to_string(pid) + "\n";
  return status.find(line) != std::string::npos;
}

/// Tries signal 0, which also finds processes that /proc hides. But it finds zombies, too. It goes to the first thread
/// of the process `pid`, so it does not find the id of any other thread.
Existence existenceBySignal(std::int32_t pid) {
  if (::syscall(SYS_tgkill, pid, pid, 0) == 0 || errno == EPERM) return Existence::exists;
  return errno == ESRCH ? Existence::gone : Existence::unknown;
}

/// Whether a call failed because this process or the system has run out of something. That says nothing about the
/// process in question.
bool hasRunOut(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

}  // namespace

Existence port::existenceOf(std::int32_t pid) {
  // To some calls, 0 and negative ids mean groups or the caller itself. Here they name nothing.
  if (pid <= 0) return Existence::gone;

  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
  if (!process.isOpen()) {
    const bool isThreadOrNone = errno == ESRCH || errno == ENOENT || errno == EINVAL;
    // If we have only run out of resources, existenceByProc() finds that out as well.
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
  // Hidden, gone by now, or never there.
  if (!stat) return hasRunOut(errno) ? Existence::unknown : existenceBySignal(pid);
  if (!isProcessNotThread(*status, pid)) return Existence::gone;

  const std::optional<std::string> state = statField(*stat, kStatState);
  const std::optional<std::string> threads = statField(*stat, kStatThreadCount);
  if (!state || !threads) return Existence::unknown;
  // A first thread that has ended is a zombie as long as other threads of its process run.
  const bool hasFirstThreadEnded = *state == "Z" || *state == "X";
  const bool isAnyThreadLeft = *threads != "0" && *threads != "1";
  return hasFirstThreadEnded && !isAnyThreadLeft ? Existence::gone : Existence::exists;
}

}  // namespace zk
