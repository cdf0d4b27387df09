#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace zk::darwin {

enum class Existence { exists, gone, unknown };

/// Whether a process with this id exists now, from the kernel, which knows every process. A zombie does not exist. 0
/// and negative ids name nothing here. `unknown` if the kernel does not answer.
Existence existenceOf(std::int32_t pid);

/// The user that a process acts as; nothing if it is gone or the kernel does not answer.
std::optional<uid_t> userOf(std::int32_t pid);

}  // namespace zk::darwin
