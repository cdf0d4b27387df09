#pragma once

#include "objects/NSDictionary.h"
#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// Options of a launch.
inline constexpr unsigned long NSWorkspaceLaunchWithoutAddingToRecents = 0x100;
inline constexpr unsigned long NSWorkspaceLaunchAsync = 0x10000;
inline constexpr unsigned long NSWorkspaceLaunchNewInstance = 0x80000;

/// Key of a launch configuration: the application's arguments, a list of texts.
inline constexpr NSStringConstant NSWorkspaceLaunchConfigurationArguments =
    "NSWorkspaceLaunchConfigurationArguments"_constant;

/// An application that was started.
class NSRunningApplication final : public NSObject {
 public:
  explicit NSRunningApplication(Ref<NSURL> bundleURL) : bundleURL_(std::move(bundleURL)) {}
  const Ref<NSURL>& bundleURL() const { return bundleURL_; }

 private:
  Ref<NSURL> bundleURL_;
};

/// Starts applications.
class NSWorkspace {
 public:
  static NSWorkspace& sharedWorkspace();

  /// `launchApplicationAtURL:options:configuration:error:`: starts the program of the bundle at `url` as a new,
  /// detached instance. On Linux, whatever `options` say, every launch starts a new instance, is not waited for, and
  /// is added to no list of recent items; macOS follows the options.
  /// @return absent if the bundle names no program inside itself, or the program could not be executed; `error` then
  /// has the POSIX code ENOENT.
  Ref<NSRunningApplication> launchApplicationAtURL(const Ref<NSURL>& url, unsigned long options,
                                                   const Ref<NSDictionary>& configuration,
                                                   Ref<NSError>* error = nullptr);

 private:
  NSWorkspace() = default;
};

}  // namespace zk
