#pragma once

#include <cstdint>

namespace zk {

enum class Existence { exists, gone, unknown };

/// Whether a process with this id exists now. A zombie does not; a process whose first thread alone has ended does; a
/// thread's id is no process's; hidden processes and other users' count like any. `unknown` only when the means to find
/// out are lacking, such as descriptors.
Existence existenceOf(std::int32_t pid);

/// The same, told from /proc: for kernels and filters that refuse pidfd_open.
Existence existenceByProc(std::int32_t pid);

}  // namespace zk
