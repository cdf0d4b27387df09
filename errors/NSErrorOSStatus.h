#pragma once

#include <cstdint>

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Makers of errors in NSOSStatusErrorDomain, added to NSError. `status` is a status of the system interfaces and is
/// kept with its sign; its description is the operating system's own, left out where that has none. Texts that are
/// absent or empty are left out, and so is an absent URL. All answer an error that the caller shares, or absent when
/// there is no memory for its user information.
namespace OSStatus {

/// `errorWithOSStatus:failureReason:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason);

/// `errorWithOSStatus:failureReason:filePath:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSString>& filePath);

/// `errorWithOSStatus:failureReason:url:`
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSURL>& url);

}  // namespace OSStatus

namespace OSStatus_Private {

/// `errorWithOSStatus:failureReason:filePath:url:`, which the others call.
Ref<NSError> errorWithOSStatus(std::int32_t status, const Ref<NSString>& failureReason, const Ref<NSString>& filePath,
                               const Ref<NSURL>& url);

}  // namespace OSStatus_Private

}  // namespace zk
