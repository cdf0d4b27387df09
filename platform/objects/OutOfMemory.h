#pragma once

#include <exception>
#include <type_traits>

namespace zk {

/// The edge of a step that must come back to its caller: memory running out, the one thing that is thrown here, makes
/// it a failure like any other.
/// @return what `step` answers (true when it answers nothing), or a value made of nothing (false, absent) when memory
/// ran out
template <class Step>
auto unlessOutOfMemory(const Step& step) noexcept {
  using Result = std::invoke_result_t<Step>;
  try {
    if constexpr (std::is_void_v<Result>) {
      step();
      return true;
    } else {
      return step();
    }
  } catch (const std::exception&) {
    if constexpr (std::is_void_v<Result>) {
      return false;
    } else {
      return Result{};
    }
  }
}

}  // namespace zk
