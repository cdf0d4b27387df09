#include "support/linux/RefuseSystemCall.h"

#include <sys/prctl.h>

#include "support/linux/SystemCallFilter.h"

namespace zk::test {

namespace {

bool filterSystemCall(long number, std::uint32_t action) {
  auto filter = filterOfSystemCall(number, action);
  const sock_fprog program{filter.size(), filter.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

bool refuseSystemCall(long number, int error) {
  return filterSystemCall(number, SECCOMP_RET_ERRNO | (static_cast<std::uint32_t>(error) & SECCOMP_RET_DATA));
}

bool endAtSystemCall(long number) { return filterSystemCall(number, SECCOMP_RET_KILL_PROCESS); }

}  // namespace zk::test
