#pragma once

namespace zk::test {

/// Exit status of a child process that was not permitted to set up its test.
inline constexpr int kNotPermitted = 77;

/// Gives the calling process its own mounts, so that it can mount over what others see. Only for a child process of the
/// test. @return false if the system does not permit it
bool enterOwnMounts();

}  // namespace zk::test
