#pragma once

#include "system/Port.h"

namespace zk {

/// What port::existenceOf() answers, by looking into /proc: for kernels and filters that refuse pidfd_open.
port::Existence existenceByProc(std::int32_t pid);

}  // namespace zk
