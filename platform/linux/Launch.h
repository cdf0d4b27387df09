#pragma once

#include <string>
#include <vector>

#include "linux/ProcessOwner.h"
#include "process/NSTask.h"

namespace zk {

/// Starts a program in a new session that inherits only this process's user and environment: standard streams on
/// /dev/null, every other descriptor closed, default signal actions, an empty signal mask, and "/" as its current
/// folder.
/// @return whether the program is running; if it cannot be executed, no process is left behind
bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments);

/// The same for another user's program. The new process becomes that user before it looks the program up: it has their
/// id, their group, their further groups and their environment, a new session keyring, and no way back. It keeps this
/// process's limits, priority, umask, control group and namespaces. Only root can do this, and nothing is started as
/// root this way.
///
/// The environment comes from a process that nobody vouches for. It goes to the user whose process that was, and is
/// not read here. The user can stop the new process before it runs the program, and so keep this call from returning.
bool launchDetachedAs(const LaunchUser& user, const std::string& executable, const std::vector<std::string>& arguments);

/// Starts a program as launchDetached() does, but as a child process that can be watched, with its standard error on a
/// pipe. Absent if it cannot be executed.
Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments);

}  // namespace zk
