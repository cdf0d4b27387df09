#pragma once

#include <string>
#include <string_view>

namespace zk {

/// Writes the line "YYYY-MM-DD hh:mm:ss.mmm name[pid:tid] message" to standard error, and the message to the system
/// log. Neither can fail, block or end the process: if nobody reads, the line is lost.
void writeLogLine(const std::string& message) noexcept;

/// The message with every control character, and every byte that is not part of valid UTF-8, written as "\xNN". So a
/// line stays one line and hides nothing.
std::string printable(std::string_view message);

}  // namespace zk
