#pragma once

#include <memory>

#include "support/ChildProcess.h"

namespace zk::test {

/// The user "nobody", who has no rights and does not run the tests.
inline constexpr unsigned int kNobody = 65534;

/// A child that waits to be ended.
std::unique_ptr<ChildProcess> makeWaitingProcess();
/// A child that has ended and has not been reaped.
std::unique_ptr<ChildProcess> makeZombie();
/// A child whose first thread has ended while another one waits.
std::unique_ptr<ChildProcess> makeProcessWithoutFirstThread();

/// The id of a process that has ended and was reaped.
int idOfEndedProcess();

/// The id of a thread of the process, other than its first; 0 when it has none.
int idOfOtherThread(int pid);

}  // namespace zk::test
