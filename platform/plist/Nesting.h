#pragma once

namespace zk {

/// How many levels of containers a property list may have, counting the outermost. Objects are read, written, compared
/// and released by recursion, and no document may use up the stack.
inline constexpr unsigned kDeepestNesting = 512;

}  // namespace zk
