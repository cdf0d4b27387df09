#include "support/System.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "support/NameList.h"
#include "support/linux/RefuseSystemCall.h"

namespace zk::test {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargest = 65536;  ///< bytes of a list of names, and of a value

}  // namespace

void endWithParent() { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }

bool isAsleep(pid_t child) {
  // The state follows the program's name, which is in parentheses.
  std::ifstream file("/proc/" + std::to_string(child) + "/stat");
  std::string line;
  std::getline(file, line);
  const char state = line.at(line.rfind(')') + 2);
  return state == 'S' || state == 'Z';
}

// A change of user hides a process's folder under /proc even from itself.
void keepAccessToItself() { ::prctl(PR_SET_DUMPABLE, 1); }

void neverWaitForTheDisk() { EXPECT_TRUE(refuseSystemCall(SYS_fsync, EINVAL)); }

void exchangeItems(const fs::path& one, const fs::path& other) {
  ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
}

std::set<std::string> attributeNames(const fs::path& path) {
  std::string list(kLargest, '\0');
  const ssize_t size = ::llistxattr(path.c_str(), list.data(), list.size());
  if (size < 0 && errno != ENOTSUP) throw std::runtime_error("cannot list " + path.string());
  return namesIn({list.data(), size < 0 ? 0 : static_cast<std::size_t>(size)});
}

std::optional<std::string> attributeOf(const fs::path& path, const char* name) {
  std::string value(kLargest, '\0');
  const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
  if (size < 0) return std::nullopt;
  return value.substr(0, static_cast<std::size_t>(size));
}

bool setAttribute(const fs::path& path, const char* name, const std::string& value) {
  return ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

int semaphoreCount(const char* name) {
  sem_t* const semaphore = ::sem_open(name, 0);
  if (semaphore == SEM_FAILED) return -1;
  int value = -1;
  ::sem_getvalue(semaphore, &value);
  ::sem_close(semaphore);
  return value;
}

std::optional<mode_t> semaphoreMode(const char* name) {
  struct stat status;
  if (::stat(("/dev/shm/sem." + std::string(name)).c_str(), &status) != 0) return std::nullopt;
  return status.st_mode & 07777;
}

}  // namespace zk::test
