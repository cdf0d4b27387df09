#pragma once

namespace zk::test {

/// Makes the system call of this number (SYS_...) fail with `error` in the calling process and all that it starts, from
/// now on: only for a process of the test's own. @return whether that could be arranged
bool refuseSystemCall(long number, int error);

/// The same, but ends the process with SIGSYS at such a call: to see that it is made.
bool endAtSystemCall(long number);

}  // namespace zk::test
