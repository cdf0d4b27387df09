#pragma once

#include <string>
#include <string_view>

namespace zk {

/// Writes the line "YYYY-MM-DD hh:mm:ss.mmm name[pid:tid] message" to standard error, and the message to the system
/// log. Neither can fail, block or end the process: where nobody reads, the line is lost.
void writeLogLine(const std::string& message) noexcept;

/// The message with every control character, and every byte that is no part of valid UTF-8, as "\xNN": a line stays one
/// line, and shows what it holds.
std::string printable(std::string_view message);

}  // namespace zk
