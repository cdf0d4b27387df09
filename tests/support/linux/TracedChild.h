#pragma once

#include <sys/types.h>

#include <functional>

namespace zk::test {

/// Runs `body` in a child process that is stopped before and after each of its system calls. `atStop` is called at each
/// stop with the child's id and the number of the stop, from 0, and may send signals: whatever it does comes at that
/// exact moment. @return the child's exit status, as ChildProcess::wait gives it
int statusInTracedChild(const std::function<void()>& body, const std::function<void(pid_t pid, int stop)>& atStop);

}  // namespace zk::test
