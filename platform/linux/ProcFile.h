#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace zk {

/// The path of a process's (or a thread's) own folder under /proc.
std::string procFolder(std::int32_t pid);

/// The content of a file under /proc; nothing, and errno, when it cannot be read; nothing when it is longer than
/// `mostBytes`.
std::optional<std::string> readProcFile(const std::string& path,
                                        std::size_t mostBytes = std::numeric_limits<std::size_t>::max());

/// What a link under /proc leads to; nothing, and errno, when it cannot be read.
std::optional<std::string> readProcLink(const std::string& path);

/// Fields of /proc/<pid>/stat, counted as proc(5) does.
inline constexpr std::size_t kStatState = 3;
inline constexpr std::size_t kStatThreadCount = 20;
inline constexpr std::size_t kStatStartTime = 22;

/// One field of a process's stat line, from kStatState on; nothing when the line is not of that form.
std::optional<std::string> statField(std::string_view line, std::size_t number);

}  // namespace zk
