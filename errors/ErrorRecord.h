#pragma once

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Makes every error of this folder. A text goes into the user information if it is not empty, the URL if it is not
/// absent. All objects are shared, not copied.
/// @return absent only if there is no memory for the user information
Ref<NSError> errorRecord(const Ref<NSString>& domain, long code, const Ref<NSString>& description,
                         const Ref<NSString>& failureReason, const Ref<NSString>& filePath, const Ref<NSURL>& url);

}  // namespace zk
