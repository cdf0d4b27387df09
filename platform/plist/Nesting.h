#pragma once

namespace zk {

/// How many containers may stand inside one another, the outermost included. What is nested deeper is no property list:
/// objects are read, written, compared and released by recursion, and no document may use up the stack.
inline constexpr unsigned kDeepestNesting = 512;

}  // namespace zk
