#pragma once

#include <cerrno>

namespace zk {

/// Makes a system call, again as long as a signal interrupts it, and returns its result.
template <class Call>
auto uninterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace zk
