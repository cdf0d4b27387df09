#pragma once

#include <string>
#include <vector>

#include "process/NSTask.h"

namespace zk {

/// Starts a program as a new session that keeps nothing of this process but its environment: standard streams on
/// /dev/null, every other descriptor closed, default signal actions, an empty signal mask, "/" as its current folder.
/// @return whether the program runs; where it cannot be executed no process stays behind
bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments);

/// The same, but as a child process to be watched, and with its standard error on a pipe; absent when it cannot be
/// executed.
Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments);

}  // namespace zk
