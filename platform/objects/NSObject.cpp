#include "objects/NSObject.h"

#include <functional>
#include <ostream>

#include "objects/NSString.h"

namespace zk {

Ref<NSString> NSStringFromClass(Class aClass) { return NSString::stringWithUTF8String(aClass->name); }

bool NSObject::isEqual(const Ref<NSObject>& object) const { return object.get() == this; }

std::size_t NSObject::hash() const { return std::hash<const NSObject*>()(this); }

Ref<NSString> NSObject::description() const { return "<object>"_ns; }

bool areEqual(const Ref<NSObject>& left, const Ref<NSObject>& right) {
  return left ? left->isEqual(right) : right == nullptr;
}

std::ostream& writeDescription(std::ostream& stream, const NSObject* object) {
  if (object == nullptr) return stream << "(null)";
  return stream << object->description()->bytes();
}

}  // namespace zk
