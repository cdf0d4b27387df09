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

/// The content of a file under /proc; nothing if it is longer than `mostBytes` or, with errno set, cannot be read.
std::optional<std::string> readProcFile(const std::string& path,
                                        std::size_t mostBytes = std::numeric_limits<std::size_t>::max());

/// The target of a link under /proc; nothing, with errno set, if it cannot be read.
std::optional<std::string> readProcLink(const std::string& path);

/// Fields of /proc/<pid>/stat, counted as proc(5) does.
inline constexpr std::size_t kStatState = 3;
inline constexpr std::size_t kStatThreadCount = 20;
inline constexpr std::size_t kStatStartTime = 22;

/// One field of a process's stat line, kStatState or a later one; nothing if the line is malformed.
std::optional<std::string> statField(std::string_view line, std::size_t number);

}  // namespace zk
