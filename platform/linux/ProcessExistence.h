#pragma once

#include <cstdint>

namespace zk {

enum class Existence { exists, gone, unknown };

/// Whether a process with this id exists now. A zombie does not. A process does if its first thread has ended but
/// others have not. The id of a thread is not a process's. Hidden processes and other users' count like any other. The
/// answer is `unknown` only if a resource such as descriptors has run out.
Existence existenceOf(std::int32_t pid);

/// The same by looking into /proc, for kernels and filters that refuse pidfd_open.
Existence existenceByProc(std::int32_t pid);

}  // namespace zk
