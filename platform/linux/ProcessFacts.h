#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zk {

/// A process's executable.
struct Executable {
  std::string path;  ///< where it lay when the process was started, or was moved to since
  bool isReplaced;   ///< whether something else, or nothing, lies there now
};

/// The executable of a running process; nothing when it has none (a kernel thread) or it may not be known.
std::optional<Executable> executableOf(std::int32_t pid);

/// The arguments that a process shows. It can change them itself, so they prove nothing.
std::vector<std::string> shownArgumentsOf(std::int32_t pid);

/// The environment that a process was started with, one `NAME=value` each. A process can overwrite it: what has no `=`
/// is left out. Nothing when none is left, or when it may not be known.
std::optional<std::vector<std::string>> shownEnvironmentOf(std::int32_t pid);

/// The folder a process's relative paths start from; nothing when it may not be known.
std::optional<std::string> currentFolderOf(std::int32_t pid);

/// A number that stays the same for a process's whole life and that no other process of the same boot with the same id
/// has; nothing when it cannot be found out. No clock that can be set is part of it.
std::optional<std::uint32_t> launchStampOf(std::int32_t pid);

/// The stamp of a process that was started so many clock ticks after the boot with this id. A sum of the id's hash and
/// the ticks: two start times of one boot never give the same stamp before 2^32 ticks have passed.
std::uint32_t launchStamp(std::string_view bootId, std::uint64_t startTicks);

}  // namespace zk
