#pragma once

#include "objects/NSNumber.h"
#include "objects/NSURL.h"

namespace zk {

/// Property of an item: whether it is a package, a folder that is shown to people as one file. A boolean number.
extern const Ref<NSString> NSURLIsPackageKey;

/// `getResourceValue:forKey:error:`: reads a property of the item at `url` (a link is not followed). Knows only
/// NSURLIsPackageKey; a URL from an enumeration already holds the answer.
/// @return whether it could be read; `value` is written only then
bool getResourceValue(const Ref<NSURL>& url, Ref<NSNumber>& value, const Ref<NSString>& forKey);

}  // namespace zk
