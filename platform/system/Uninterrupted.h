#pragma once

#include <cerrno>

namespace zk {

/// The result of a system call that is made again for as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace zk
