#include "objects/NSArray.h"

#include <algorithm>

namespace zk {

Ref<NSArray> NSArray::arrayWithObjects(std::vector<Ref<NSObject>> objects) {
  return std::make_shared<NSArray>(std::move(objects));
}

bool NSArray::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSArray*>(object.get());
  return other != nullptr && std::ranges::equal(objects_, other->objects_, &areEqual);
}

Ref<NSArray> asArray(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSArray>(object); }

}  // namespace zk
