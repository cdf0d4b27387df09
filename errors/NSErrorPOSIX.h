#pragma once

#include <cstddef>

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Functions that make errors in NSPOSIXErrorDomain. `code` is a POSIX error number in the macOS numbering (see
/// macOSErrorNumber() in ErrorNumbers.h) and is never changed. Its English description comes from the POSIX
/// error table, and is left out if that has none. Absent or empty texts and an absent URL are left out. All return a
/// shared error, or absent if there is no memory for its user information.
namespace POSIX {

/// `errorWithPOSIXCode:failureReason:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason);

/// `errorWithPOSIXCode:failureReason:filePath:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSString>& filePath);

/// `errorWithPOSIXCode:failureReason:url:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSURL>& url);

/// A null pointer is both an absent path and an absent URL.
inline Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, std::nullptr_t) {
  return errorWithPOSIXCode(code, failureReason);
}

}  // namespace POSIX

namespace POSIX_Private {

/// `errorWithPOSIXCode:failureReason:filePath:url:`, which the others call.
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSString>& filePath,
                                const Ref<NSURL>& url);

}  // namespace POSIX_Private

}  // namespace zk
