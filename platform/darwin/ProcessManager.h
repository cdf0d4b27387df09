#pragma once

#include <cstdint>
#include <optional>

#include "darwin/Declarations.h"
#include "objects/NSDictionary.h"

namespace zk::darwin {

/// What the process manager knows about a process, under the keys in system/System.h. A key is missing if the process
/// manager does not know it, does not know the process (it knows no plain tools), or lacks a call. No other source may
/// stand in: an application's record of the same process has the process manager's texts, and the two are compared.
/// @param foundation null if it could not be found
Ref<NSDictionary> informationOf(std::int32_t pid, std::uint32_t mask, const ProcessManagerFunctions& manager,
                                const CoreFoundationFunctions* foundation);

/// The process manager's launch stamp of a process; nothing under the same conditions.
std::optional<std::uint32_t> launchStampOf(std::int32_t pid, const ProcessManagerFunctions& manager);

}  // namespace zk::darwin
