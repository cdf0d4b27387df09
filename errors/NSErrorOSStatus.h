#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Functions that make errors in NSOSStatusErrorDomain. `status` is a status of the system interfaces and keeps its
/// sign. The description is the operating system's own, and is left out if it has none. Absent or empty texts and an
/// absent URL are left out. All return a shared error, or absent if there is no memory for its user information.
namespace OSStatus {

/// `errorWithOSStatus:failureReason:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason);

/// `errorWithOSStatus:failureReason:filePath:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSString>& filePath);

/// `errorWithOSStatus:failureReason:url:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSURL>& url);

/// A null pointer is both an absent path and an absent URL.
inline Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, std::nullptr_t) {
  return errorWithOSStatus(status, failureReason);
}

}  // namespace OSStatus

namespace OSStatus_Private {

/// `errorWithOSStatus:failureReason:filePath:url:`, which the others call.
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSString>& filePath,
                               const Ref<NSURL>& url);

}  // namespace OSStatus_Private

}  // namespace zk
