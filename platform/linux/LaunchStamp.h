#pragma once

#include <cstdint>
#include <string_view>

namespace zk {

/// What port::launchStampOf() answers for a process that started `startTicks` clock ticks after the boot with the id
/// `bootId`. It is the sum of the id's hash and the ticks, so that two start times of one boot give different stamps
/// until 2^32 ticks have passed.
std::uint32_t launchStamp(std::string_view bootId, std::uint64_t startTicks);

}  // namespace zk
