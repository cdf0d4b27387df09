#pragma once

#include <string>

namespace zk {

/// The path of the running program's file; empty when it cannot be found out.
std::string programPath();

}  // namespace zk
