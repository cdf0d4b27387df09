#include "objects/NSArray.h"

#include <algorithm>

namespace zk {

Ref<NSArray> NSArray::arrayWithObjects(std::vector<Ref<NSObject>> objects) {
  if (objects.size() == 1) return std::make_shared<NSArray>(std::move(objects.front()));
  return std::make_shared<NSArray>(std::move(objects));
}

std::span<const Ref<NSObject>> NSArray::objects() const {
  if (const auto* object = std::get_if<Ref<NSObject>>(&objects_)) return {object, 1};
  return std::get<std::vector<Ref<NSObject>>>(objects_);
}

bool NSArray::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSArray*>(object.get());
  return other != nullptr && std::ranges::equal(objects(), other->objects(), &areEqual);
}

Ref<NSArray> asArray(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSArray>(object); }

}  // namespace zk
