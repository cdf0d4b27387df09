#pragma once

#include <new>
#include <type_traits>

namespace zk {

/// The edge of a step: one that runs out of memory has failed like any other.
/// @return what `step` answers (true when it answers nothing), or a value made of nothing (false, absent) when it ran
/// out of memory.
template <class Step>
auto attempt(const Step& step) noexcept {
  using Result = std::invoke_result_t<Step>;
  try {
    if constexpr (std::is_void_v<Result>) {
      step();
      return true;
    } else {
      return step();
    }
  } catch (const std::bad_alloc&) {
    if constexpr (std::is_void_v<Result>) {
      return false;
    } else {
      return Result{};
    }
  }
}

}  // namespace zk
