#pragma once

namespace zk::test {

/// From now on, makes the system call of this number (SYS_...) fail with `error` in the calling process and all that it
/// starts. Only for a child process of the test. @return whether that could be arranged
bool refuseSystemCall(long number, int error);

/// The same, but such a call ends the process with SIGSYS, which shows that it was made.
bool endAtSystemCall(long number);

}  // namespace zk::test
