#pragma once

#include <string>
#include <vector>

namespace zk {

/// Starts a program in a new session that inherits only this process's environment: standard streams on /dev/null,
/// every other descriptor closed, default signal actions, an empty signal mask, and "/" as its current folder.
/// @return whether the program is running; if it cannot be executed, no process is left behind
bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments);

}  // namespace zk
