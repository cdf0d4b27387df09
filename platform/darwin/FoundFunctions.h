#pragma once

#include "darwin/Declarations.h"

namespace zk::darwin {

/// The calls of the system's frameworks, found once and kept. A framework is loaded when it is first asked for, and
/// never unloaded. What is not there is null.

/// Null unless everything was found.
const CoreFoundationFunctions* coreFoundation();

const ProcessManagerFunctions& processManager();

StatusCommentFunction statusCommentFunction();

/// Null unless everything was found.
const ObjectiveCFunctions* objectiveC();

}  // namespace zk::darwin
