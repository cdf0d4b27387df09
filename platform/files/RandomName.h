#pragma once

#include <string>

#include "system/SystemError.h"

namespace zk {

/// 16 hexadecimal digits that nobody can guess, for the name of a new file.
SystemError makeRandomDigits(std::string& digits);

}  // namespace zk
