#pragma once

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// The one way in which this folder's constructors make an error: a text goes into the user information when it is not
/// empty, the URL when it is present, and every object as it was passed.
/// @return absent only when there is no memory for the user information.
Ref<NSError> errorRecord(const Ref<NSString>& domain, long code, const Ref<NSString>& description,
                         const Ref<NSString>& failureReason, const Ref<NSString>& filePath, const Ref<NSURL>& url);

}  // namespace zk
