#include "support/linux/OwnMounts.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace zk::test {

namespace {

/// A user who may not do this may still be allowed to as root of a new user namespace.
bool enterOwnUsers() {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  return (std::ofstream("/proc/self/uid_map") << "0 " + user + " 1").flush() &&
         (std::ofstream("/proc/self/gid_map") << "0 " + group + " 1").flush();
}

}  // namespace

bool enterOwnMounts() {
  if (::unshare(CLONE_NEWNS) != 0 && !enterOwnUsers()) return false;
  return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

}  // namespace zk::test
