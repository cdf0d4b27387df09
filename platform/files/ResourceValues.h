#pragma once

#include "objects/NSNumber.h"
#include "objects/NSURL.h"

namespace zk {

/// Property of an item: whether it is a package, a folder that is shown to people as one file. A boolean number.
inline constexpr NSStringConstant NSURLIsPackageKey = "NSURLIsPackageKey"_constant;

/// `getResourceValue:forKey:error:`: reads a property of the item at `url` (a link is not followed). Knows only
/// NSURLIsPackageKey; a URL from an enumeration already holds the answer.
/// @return whether it could be read, which is false for an absent URL; `value` is written only if it is true
bool getResourceValue(const Ref<NSURL>& url, Ref<NSNumber>& value, const Ref<NSString>& forKey);

}  // namespace zk
