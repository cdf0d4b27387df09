#pragma once

#include "objects/NSObject.h"

namespace zk {

/// The object that stands for nothing inside a container.
class NSNull final : public NSObject {
 public:
  static Ref<NSNull> null() { return std::make_shared<NSNull>(); }

  bool isEqual(const Ref<NSObject>& object) const override {
    return dynamic_cast<const NSNull*>(object.get()) != nullptr;
  }
  std::size_t hash() const override { return 0; }
};

}  // namespace zk
