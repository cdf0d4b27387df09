#pragma once

#include <cstdint>

namespace zk {

/// What the operating system has to say about a status of its system interfaces: static text, or null where it knows
/// nothing of the status.
const char* GetMacOSStatusCommentString(std::int32_t status);

}  // namespace zk
