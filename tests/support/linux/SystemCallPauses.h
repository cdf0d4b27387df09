#pragma once

#include <functional>
#include <string>

namespace zk::test {

/// Runs `body` in a thread that pauses before each system call of this number (SYS_...), so that a test can change
/// something at that very moment. The call must be one whose second argument is a name, like unlinkat.
/// @param before runs in the calling thread during each pause, with that name
/// @return false, without running `body`, where the system does not permit that
bool runWithPauses(long number, const std::function<void(const std::string& name)>& before,
                   const std::function<void()>& body);

}  // namespace zk::test
