#include "objects/NSDate.h"

#include <functional>

namespace zk {

Ref<NSDate> NSDate::dateWithTimeIntervalSince1970(double seconds) {
  return dateWithTimeIntervalSinceReferenceDate(seconds - kCFAbsoluteTimeIntervalSince1970);
}

Ref<NSDate> NSDate::dateWithTimeIntervalSinceReferenceDate(double seconds) { return std::make_shared<NSDate>(seconds); }

bool NSDate::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSDate*>(object.get());
  return other != nullptr && other->seconds_ == seconds_;
}

std::size_t NSDate::hash() const { return std::hash<double>()(seconds_); }

Ref<NSDate> asDate(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSDate>(object); }

}  // namespace zk
