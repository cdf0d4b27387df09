#pragma once

#include <vector>

#include "objects/NSObject.h"

namespace zk {

/// A scope for temporarily owned objects. The end of some objects can be seen from outside: the updater, a semaphore, a
/// file manager. An operation that hands out one of those leaves a reference in the thread's innermost open scope, so
/// that the object lives until that scope closes. Scopes must close in reverse order.
class NSAutoreleasePool {
 public:
  /// Opens a scope of the calling thread.
  NSAutoreleasePool();
  /// Closes it, on the same thread. Releases the objects in the order in which they were added.
  ~NSAutoreleasePool();
  NSAutoreleasePool(const NSAutoreleasePool&) = delete;
  NSAutoreleasePool& operator=(const NSAutoreleasePool&) = delete;

  /// Leaves a reference to `object` (may be absent) in the innermost open scope. Does nothing if no scope is open.
  static void addObject(const Ref<NSObject>& object);

 private:
  NSAutoreleasePool* outer_;
  std::vector<Ref<NSObject>> objects_;
};

/// Leaves a reference to `object` in the innermost open scope, and returns it.
template <class T>
Ref<T> autorelease(Ref<T> object) {
  NSAutoreleasePool::addObject(object);
  return object;
}

}  // namespace zk
