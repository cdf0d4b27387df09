#pragma once

#include <string>
#include <vector>

#include "process/NSTask.h"

namespace zk::darwin {

/// Starts a program in a new session that inherits only this process's user and `environment`: standard streams on
/// /dev/null, every other descriptor closed, default signal actions, an empty signal mask, and "/" as its current
/// folder. It is a child of this process, which can watch it. Its standard error is on a pipe.
/// @return absent if it cannot be executed; no process is left behind then
Ref<NSTask> spawnTask(const std::string& executable, const std::vector<std::string>& arguments,
                      char* const* environment);

/// Starts a program in the same way, but with its standard error on /dev/null, and waits for its end.
/// @return whether it ended with status 0
bool runToSuccess(const std::string& executable, const std::vector<std::string>& arguments, char* const* environment);

}  // namespace zk::darwin
