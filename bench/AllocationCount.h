#pragma once

#include <cstddef>

namespace zk::bench {

/// How many times memory was asked for since the program began. Linking this in replaces the program's operator new.
std::size_t allocationCount();

}  // namespace zk::bench
