#include "objects/NSError.h"

#include <functional>

namespace zk {

NSError::NSError(Ref<NSString> domain, long code, Ref<NSDictionary> userInfo)
    : domain_(std::move(domain)),
      code_(code),
      userInfo_(userInfo ? std::move(userInfo) : std::make_shared<NSDictionary>()) {}

Ref<NSError> NSError::errorWithDomain(const Ref<NSString>& domain, long code, const Ref<NSDictionary>& userInfo) {
  return std::make_shared<NSError>(domain, code, userInfo);
}

bool NSError::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSError*>(object.get());
  return other != nullptr && other->code_ == code_ && areEqual(other->domain_, domain_) &&
         areEqual(other->userInfo_, userInfo_);
}

std::size_t NSError::hash() const { return std::hash<long>()(code_); }

}  // namespace zk
