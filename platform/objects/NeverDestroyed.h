#pragma once

#include <utility>

namespace zk {

/// Makes an object that is never destroyed, for things that a static object's destructor may still use:
///
///   static const Ref<NSBundle>& shared = neverDestroyed<Ref<NSBundle>>(...);
template <class T, class... Arguments>
T& neverDestroyed(Arguments&&... arguments) {
  return *new T(std::forward<Arguments>(arguments)...);
}

}  // namespace zk
