#pragma once

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Makers of errors in NSPOSIXErrorDomain, added to NSError. `code` is a POSIX error number of the macOS numbering (see
/// macOSErrorNumber() in system/ErrorNumbers.h) and is kept unchanged whatever it is; its English description is
/// looked up in the POSIX error table and left out where that has none. Texts that are absent or empty are left out,
/// and so is an absent URL. All answer an error that the caller shares, or absent when there is no memory for its
/// user information.
namespace POSIX {

/// `errorWithPOSIXCode:failureReason:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason);

/// `errorWithPOSIXCode:failureReason:filePath:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSString>& filePath);

/// `errorWithPOSIXCode:failureReason:url:`
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSURL>& url);

}  // namespace POSIX

namespace POSIX_Private {

/// `errorWithPOSIXCode:failureReason:filePath:url:`, which the others call.
Ref<NSError> errorWithPOSIXCode(long code, const Ref<NSString>& failureReason, const Ref<NSString>& filePath,
                                const Ref<NSURL>& url);

}  // namespace POSIX_Private

}  // namespace zk
