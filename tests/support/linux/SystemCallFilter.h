#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace zk::test {

/// A filter for the system calls of a process.
/// @param action what happens at a call of this number: SECCOMP_RET_...; all others are allowed
inline std::array<sock_filter, 4> filterOfSystemCall(long number, std::uint32_t action) {
  return {{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, action),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
}

}  // namespace zk::test
