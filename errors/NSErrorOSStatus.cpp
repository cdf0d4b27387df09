#include "NSErrorOSStatus.h"

#include "ErrorRecord.h"
#include "system/System.h"

namespace zk {

Ref<NSError> OSStatus_Private::errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason,
                                                 const Ref<NSString>& filePath, const Ref<NSURL>& url) {
  const char* description = GetMacOSStatusCommentString(status);
  return errorRecord(NSOSStatusErrorDomain, status, NSString::stringWithUTF8String(description), failureReason,
                     filePath, url);
}

Ref<NSError> OSStatus::errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason) {
  return OSStatus_Private::errorWithOSStatus(status, failureReason, nullptr, nullptr);
}

Ref<NSError> OSStatus::errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason,
                                         const Ref<NSString>& filePath) {
  return OSStatus_Private::errorWithOSStatus(status, failureReason, filePath, nullptr);
}

Ref<NSError> OSStatus::errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason,
                                         const Ref<NSURL>& url) {
  return OSStatus_Private::errorWithOSStatus(status, failureReason, nullptr, url);
}

}  // namespace zk
