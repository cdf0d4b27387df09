#pragma once

namespace zk::test {

/// Exit status of a child process that was not permitted to set up its test.
inline constexpr int kNotPermitted = 77;

/// Gives the calling process mounts of its own, so that it may mount over what others see: only for a process of the
/// test's own. @return false where the system does not let it
bool enterOwnMounts();

}  // namespace zk::test
