#pragma once

namespace zk {

/// The operating system's number of the calling thread, for log lines.
long currentThreadId();

}  // namespace zk
