#pragma once

#include <cstddef>

namespace zk::test {

/// How many bytes an allocation takes up. The folder of each operating system here, linux/ or darwin/, defines it.
std::size_t allocatedSize(void* memory);

}  // namespace zk::test
