#include "support/linux/RefuseSystemCall.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstddef>
#include <cstdint>

namespace zk::test {

namespace {

/// @param action what happens at a call of this number: SECCOMP_RET_...
bool filterSystemCall(long number, std::uint32_t action) {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, action),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{sizeof filter / sizeof *filter, filter};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

bool refuseSystemCall(long number, int error) {
  return filterSystemCall(number, SECCOMP_RET_ERRNO | (static_cast<std::uint32_t>(error) & SECCOMP_RET_DATA));
}

bool endAtSystemCall(long number) { return filterSystemCall(number, SECCOMP_RET_KILL_PROCESS); }

}  // namespace zk::test
