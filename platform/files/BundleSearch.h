#pragma once

#include "objects/NSURL.h"

namespace zk {

/// The bundle in `folder` that is the new version of an application: the folder that has the application's own name,
/// whatever its identifier; else the first bundle of an enumeration that has the application's identifier. Packages are
/// not entered.
/// @param name the last part of the application's path; may be empty
/// @param identifier the application's; may be absent or empty
/// @return absent when there is none
Ref<NSURL> bundleInFolder(const Ref<NSURL>& folder, const Ref<NSString>& name, const Ref<NSString>& identifier);

}  // namespace zk
