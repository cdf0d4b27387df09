#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace zk::darwin {

/// The user that a process acts as; nothing if it is gone or the kernel does not answer.
std::optional<uid_t> userOf(std::int32_t pid);

}  // namespace zk::darwin
