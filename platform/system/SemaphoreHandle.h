#pragma once

namespace zk {

/// A handle to a named semaphore; ZKSEM_FAILED if there is none.
using SemaphoreHandle = void*;
/// What a failed sem_open returns.
extern const SemaphoreHandle ZKSEM_FAILED;

/// How a semaphore is opened: `none` for one that exists, or the constants below. A type of its own, so that the
/// operating system's O_CREAT, which has another value, does not compile in the place of ZKO_CREAT.
enum class SemaphoreFlags : int { none = 0 };

/// Creates a missing semaphore. In the macOS numbering, like ZKO_EXCL.
inline constexpr SemaphoreFlags ZKO_CREAT{0x200};
/// With ZKO_CREAT: fails if the semaphore exists.
inline constexpr SemaphoreFlags ZKO_EXCL{0x800};

/// The flags of both.
constexpr SemaphoreFlags operator|(SemaphoreFlags left, SemaphoreFlags right) {
  return SemaphoreFlags{static_cast<int>(left) | static_cast<int>(right)};
}

/// Whether `flag` is among `flags`.
constexpr bool contains(SemaphoreFlags flags, SemaphoreFlags flag) {
  return (static_cast<int>(flags) & static_cast<int>(flag)) != 0;
}

}  // namespace zk
