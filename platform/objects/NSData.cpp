#include "objects/NSData.h"

#include <functional>

namespace zk {

Ref<NSData> NSData::dataWithBytes(std::string_view bytes) { return std::make_shared<NSData>(std::string(bytes)); }

bool NSData::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSData*>(object.get());
  return other != nullptr && other->bytes_ == bytes_;
}

std::size_t NSData::hash() const { return std::hash<std::string>()(bytes_); }

Ref<NSData> asData(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSData>(object); }

}  // namespace zk
