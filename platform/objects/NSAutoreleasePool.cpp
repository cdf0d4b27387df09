#include "objects/NSAutoreleasePool.h"

namespace zk {

namespace {
thread_local NSAutoreleasePool* innermostPool = nullptr;
}

NSAutoreleasePool::NSAutoreleasePool() : outer_(innermostPool) { innermostPool = this; }

NSAutoreleasePool::~NSAutoreleasePool() {
  // An object that ends may hand out others. They still find this scope open.
  for (std::size_t index = 0; index < objects_.size(); ++index) {
    const Ref<NSObject> object = std::move(objects_[index]);
  }
  innermostPool = outer_;
}

void NSAutoreleasePool::addObject(const Ref<NSObject>& object) {
  if (object && innermostPool != nullptr) innermostPool->objects_.push_back(object);
}

}  // namespace zk
