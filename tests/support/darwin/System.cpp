#include "support/System.h"

#include <fcntl.h>
#include <libproc.h>
#include <semaphore.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "darwin/Declarations.h"
#include "support/NameList.h"
#include "system/FileDescriptor.h"

namespace zk::test {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargest = 65536;  ///< bytes of a list of names, and of a value

FileDescriptor openItself(const fs::path& path) {
  return FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_SYMLINK | O_CLOEXEC));
}

bool hasEnded(pid_t child) {
  siginfo_t info = {};
  return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == child;
}

}  // namespace

// There is no such way.
void endWithParent() {}

bool isAsleep(pid_t child) {
  if (hasEnded(child)) return true;
  std::uint64_t thread = 0;
  if (::proc_pidinfo(child, PROC_PIDLISTTHREADS, 0, &thread, sizeof thread) < static_cast<int>(sizeof thread)) {
    return false;
  }
  proc_threadinfo info = {};
  const int size = ::proc_pidinfo(child, PROC_PIDTHREADINFO, thread, &info, sizeof info);
  return size == sizeof info && info.pth_run_state == TH_STATE_WAITING;
}

void keepAccessToItself() {}

// Nothing there makes a call fail.
void neverWaitForTheDisk() {}

void exchangeItems(const fs::path& one, const fs::path& other) {
  ::renamex_np(one.c_str(), other.c_str(), RENAME_SWAP);
}

std::set<std::string> attributeNames(const fs::path& path) {
  // A FIFO would have to be opened.
  if (fs::is_fifo(fs::symlink_status(path))) return {};
  const FileDescriptor item = openItself(path);
  std::string list(kLargest, '\0');
  const ssize_t size = ::flistxattr(item.get(), list.data(), list.size(), 0);
  if (size < 0 && errno != ENOTSUP) throw std::runtime_error("cannot list " + path.string());
  return namesIn({list.data(), size < 0 ? 0 : static_cast<std::size_t>(size)});
}

std::optional<std::string> attributeOf(const fs::path& path, const char* name) {
  const FileDescriptor item = openItself(path);
  std::string value(kLargest, '\0');
  const ssize_t size = ::fgetxattr(item.get(), name, value.data(), value.size(), 0, 0);
  if (size < 0) return std::nullopt;
  return value.substr(0, static_cast<std::size_t>(size));
}

bool setAttribute(const fs::path& path, const char* name, const std::string& value) {
  const FileDescriptor item = openItself(path);
  return ::fsetxattr(item.get(), name, value.data(), value.size(), 0, 0) == 0;
}

// The system does not tell the count. It is taken down to 0 and put up again.
int semaphoreCount(const char* name) {
  sem_t* const semaphore = ::sem_open(name, 0);
  if (semaphore == SEM_FAILED) return -1;
  int count = 0;
  while (::sem_trywait(semaphore) == 0) ++count;
  for (int i = 0; i < count; ++i) ::sem_post(semaphore);
  ::sem_close(semaphore);
  return count;
}

std::optional<mode_t> semaphoreMode(const char* /*name*/) { return std::nullopt; }

}  // namespace zk::test
