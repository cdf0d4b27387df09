#pragma once

namespace zk {

/// A handle to a named semaphore; ZKSEM_FAILED if there is none.
using SemaphoreHandle = void*;
extern const SemaphoreHandle ZKSEM_FAILED;

/// Flags of sem_open, in the macOS numbering.
inline constexpr int ZKO_CREAT = 0x200;
inline constexpr int ZKO_EXCL = 0x800;

}  // namespace zk
