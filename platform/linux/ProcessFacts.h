#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zk {

/// A process's executable.
struct Executable {
  std::string path;  ///< where it was when the process started, or has been moved to since
  bool isReplaced;   ///< whether something else, or nothing, is there now
};

/// The executable of a running process; nothing if it has none (a kernel thread) or we may not look.
std::optional<Executable> executableOf(std::int32_t pid);

/// The arguments that a process shows. It can change them itself, so they prove nothing.
std::vector<std::string> shownArgumentsOf(std::int32_t pid);

/// The environment that a process was started with, one `NAME=value` each. A process can overwrite it; entries without
/// a "=" are left out. Nothing if none is left, or if we may not look.
std::optional<std::vector<std::string>> shownEnvironmentOf(std::int32_t pid);

/// The folder that a process's relative paths start from; nothing if we may not look.
std::optional<std::string> currentFolderOf(std::int32_t pid);

}  // namespace zk
