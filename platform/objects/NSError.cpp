#include "objects/NSError.h"

#include <functional>
#include <string>

#include "objects/Escaping.h"

namespace zk {

namespace {

std::string domainAndCode(const NSError& error) {
  return (error.domain() ? error.domain()->bytes() : "(null)") + " " + std::to_string(error.code());
}

/// On one line whatever a path or a text holds.
void appendOnOneLine(std::string& line, const std::string& text) {
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value < 0x20 || value == 0x7F) {
      appendEscaped(line, value);
    } else {
      line += byte;
    }
  }
}

}  // namespace

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

Ref<NSString> NSError::localizedDescription() const {
  const Ref<NSString> text = asString(userInfo_->objectForKey(NSLocalizedDescriptionKey));
  return text ? text : NSString::stringWithBytes(domainAndCode(*this));
}

Ref<NSString> NSError::localizedFailureReason() const {
  return asString(userInfo_->objectForKey(NSLocalizedFailureReasonErrorKey));
}

Ref<NSString> NSError::description() const {
  std::string line;
  appendOnOneLine(line, domainAndCode(*this));
  for (const auto& key :
       {NSFilePathErrorKey, NSURLErrorKey, NSLocalizedDescriptionKey, NSLocalizedFailureReasonErrorKey}) {
    const Ref<NSObject> object = userInfo_->objectForKey(key);
    if (!object) continue;
    line += ": ";
    appendOnOneLine(line, object->description()->bytes());
  }
  return NSString::stringWithBytes(line);
}

}  // namespace zk
