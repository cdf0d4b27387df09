#pragma once

#include <exception>
#include <type_traits>

namespace zk {

/// Runs a step that must return to its caller. Only running out of memory throws here, and this turns it into a failure
/// like any other.
/// @return what `step` returns, or true if it returns nothing; false or an absent object if memory ran out
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
