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

/// The owner of a process. Nothing if that cannot be found out, or if the process has several users or groups at once:
/// its real, effective, saved and file-system ids are not all the same, as in a set-id program.
std::optional<ProcessOwner> ownerOf(std::int32_t pid);

/// The same, from the content of /proc/<pid>/status.
std::optional<ProcessOwner> ownerIn(std::string_view status);

/// The user and the environment for a program to start.
struct LaunchUser {
  ProcessOwner owner;
  std::vector<std::string> environment;  ///< empty if the owner is this process's own user
};

/// The user of a process that belonged to `owner` a moment ago, while other facts of it were looked up. Nothing if the
/// owner has changed, or if the process is another user's and its environment cannot be read.
std::optional<LaunchUser> launchUserOf(std::int32_t pid, const std::optional<ProcessOwner>& owner);

/// Whether this process acts as root, and so has to take care whom it starts a program as.
bool isRoot();

/// Whether this process already acts as that user.
bool isUserOfThisProcess(const ProcessOwner& owner);

}  // namespace zk
