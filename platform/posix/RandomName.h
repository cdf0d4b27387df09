#pragma once

#include <string>

namespace zk {

/// 16 hexadecimal digits that nobody can guess, for the name of a new file; empty, with errno, when the system gives
/// none.
std::string randomDigits();

}  // namespace zk
