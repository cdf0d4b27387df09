#pragma once

#include <vector>

#include "objects/NSObject.h"

namespace zk {

/// A scope of temporarily owned objects. Operations that hand out an object whose end can be seen from outside (the
/// updater, a semaphore, a file manager) leave a reference in the innermost open scope of the thread, so that the
/// object lives until that scope closes. Scopes close in the reverse of the order in which they were opened.
class NSAutoreleasePool {
 public:
  NSAutoreleasePool();
  /// Gives up the objects in the order in which they came in.
  ~NSAutoreleasePool();
  NSAutoreleasePool(const NSAutoreleasePool&) = delete;
  NSAutoreleasePool& operator=(const NSAutoreleasePool&) = delete;

  /// Leaves a reference to `object` (may be absent) in the innermost open scope; without one, does nothing.
  static void addObject(const Ref<NSObject>& object);

 private:
  NSAutoreleasePool* outer_;
  std::vector<Ref<NSObject>> objects_;
};

/// Leaves a reference to `object` in the innermost open scope and gives it back.
template <class T>
Ref<T> autorelease(Ref<T> object) {
  NSAutoreleasePool::addObject(object);
  return object;
}

}  // namespace zk
