#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zk {

/// The one user, the one group and the further groups that a process runs with.
struct ProcessOwner {
  uid_t user;
  gid_t group;
  std::vector<gid_t> groups;

  bool operator==(const ProcessOwner&) const = default;
};

/// Whom a process belongs to; nothing when it cannot be found out, or when the process is of several users or groups at
/// once: its real, effective, saved and file-system ids are not all the same, as in a set-id program.
std::optional<ProcessOwner> ownerOf(std::int32_t pid);

/// The same, as the content of /proc/<pid>/status has it.
std::optional<ProcessOwner> ownerIn(std::string_view status);

/// As whom a program is started, and with what environment.
struct LaunchUser {
  ProcessOwner owner;
  std::vector<std::string> environment;  ///< empty where the owner is the user of this process
};

/// The user of a process that belonged to `owner` a moment ago, while other facts of it were looked up. Nothing when
/// this is no longer so, or when the process is another user's and its environment cannot be read.
std::optional<LaunchUser> launchUserOf(std::int32_t pid, const std::optional<ProcessOwner>& owner);

/// Whether this process acts as that user already.
bool isUserOfThisProcess(const ProcessOwner& owner);

}  // namespace zk
