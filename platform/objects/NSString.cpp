#include "objects/NSString.h"

#include <algorithm>
#include <functional>

#include "objects/NeverDestroyed.h"

namespace zk {

Ref<NSString> NSString::stringWithUTF8String(const char* bytes) {
  return bytes == nullptr ? nullptr : stringWithBytes(bytes);
}

Ref<NSString> NSString::stringWithBytes(std::string_view bytes) {
  return std::make_shared<NSString>(std::string(bytes));
}

Ref<NSString> NSString::substringFromIndex(std::size_t index) const {
  return stringWithBytes(std::string_view(bytes_).substr(std::min(index, bytes_.size())));
}

Ref<NSString> NSString::substringWithRange(NSRange range) const {
  return stringWithBytes(std::string_view(bytes_).substr(std::min(range.location, bytes_.size()), range.length));
}

bool NSString::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSString*>(object.get());
  return other != nullptr && other->bytes_ == bytes_;
}

std::size_t NSString::hash() const { return std::hash<std::string>()(bytes_); }

Ref<NSString> NSString::description() const { return stringWithBytes(bytes_); }

const Ref<NSString>& neverDestroyedText(const char* bytes) {
  return neverDestroyed<Ref<NSString>>(NSString::stringWithUTF8String(bytes));
}

Ref<NSString> asString(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSString>(object); }

}  // namespace zk
