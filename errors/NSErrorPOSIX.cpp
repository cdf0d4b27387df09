#include "NSErrorPOSIX.h"

#include "ErrorRecord.h"
#include "POSIXErrorTable.h"

namespace zk {

Ref<NSError> POSIX_Private::errorWithPOSIXCode(long code, const Ref<NSString>& failureReason,
                                               const Ref<NSString>& filePath, const Ref<NSURL>& url) {
  // The look-up takes the code as 32 bits; the error keeps all of it.
  const char* description = ZKPOSIXErrorDescription(static_cast<std::int32_t>(code));
  return errorRecord(NSPOSIXErrorDomain, code, NSString::stringWithUTF8String(description), failureReason, filePath,
                     url);
}

Ref<NSError> POSIX::errorWithPOSIXCode(long code, const Ref<NSString>& failureReason) {
  return POSIX_Private::errorWithPOSIXCode(code, failureReason, nullptr, nullptr);
}

Ref<NSError> POSIX::errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSString>& filePath) {
  return POSIX_Private::errorWithPOSIXCode(code, failureReason, filePath, nullptr);
}

Ref<NSError> POSIX::errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSURL>& url) {
  return POSIX_Private::errorWithPOSIXCode(code, failureReason, nullptr, url);
}

}  // namespace zk
