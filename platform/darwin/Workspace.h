#pragma once

#include <optional>
#include <string>
#include <vector>

#include "darwin/Declarations.h"

namespace zk::darwin {

/// Starts the application in the folder `bundle` by the shared workspace.
/// @return whether the workspace accepted it; nothing if there is no workspace, or the call is gone
std::optional<bool> launchByWorkspace(const std::string& bundle, const std::vector<std::string>& arguments,
                                      unsigned long options, const ObjectiveCFunctions* objectiveC,
                                      const CoreFoundationFunctions* foundation);

}  // namespace zk::darwin
