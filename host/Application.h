#pragma once

#include <filesystem>
#include <string>

#include "files/NSBundle.h"

namespace zk {

/// The bundle that this process runs from, as an installer finds it, read afresh; absent when there is none or it has
/// no identifier, so that no installer can update it.
Ref<NSBundle> applicationBundle();

/// The bundle in an update folder that the installer would put into the application's place; absent when there is none.
Ref<NSURL> updateFor(const NSBundle& application, const Ref<NSURL>& updateFolder);

/// The path of a URL, and the URL of a path.
std::filesystem::path pathOf(const Ref<NSURL>& url);
Ref<NSURL> urlOf(const std::filesystem::path& path);

/// The version of a bundle as it is shown to people: CFBundleShortVersionString, else CFBundleVersion; absent without
/// both.
Ref<NSString> shownVersionOf(const NSBundle& bundle);

/// The name of the lock that all installers of the application at `bundle` share: "zk-update-" and 16 hexadecimal
/// digits, a 64-bit FNV-1a hash of the path's bytes. 26 bytes; macOS takes no name of more than 30.
std::string updateSemaphoreNameFor(const Ref<NSURL>& bundle);

}  // namespace zk
