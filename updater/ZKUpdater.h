#pragma once

#include "ZKPOSIXSemaphore.h"
#include "files/NSFileManager.h"
#include "objects/NSURL.h"

namespace zk {

/// One run of the installer: the application to be updated (the target), where its update is, and the two semaphores.
/// runInstaller() runs the steps in their order. Each step returns whether it succeeded, and logs one line if it did
/// not. A step that takes a semaphore first releases the one that it took before.
class ZKUpdater : public NSObject, public NSFileManagerDelegate {
 public:
  static Class classObject();

  /// Reads the settings "enableLog", "pid" and "updatePath" and finds the target. Absent if any of that fails.
  static Ref<ZKUpdater> init();
  /// Gives back what is still held, and logs "End installation".
  ~ZKUpdater() override;

  // Handshake.cpp

  /// Takes the installer semaphore, which tells the target that the installer is running. Blocks until it is free. True
  /// at once when no such semaphore was named.
  bool notifyReady();
  /// Takes the update lock, so that one installer at a time works on the update. Waits at most about 100 seconds for a
  /// holder that is alive. True at once when no update semaphore was named.
  bool waitForUpdateLock();
  /// Waits, at most about 100 seconds, until the target process is gone.
  bool waitForTargetExit();
  /// Gives back the update lock, then the installer semaphore. Does nothing for one that is not held.
  void releaseSemaphores();

  // Installation.cpp

  /// Makes a backup of the target bundle, then replaces it with the update. If that fails once the old bundle has been
  /// touched, tries to roll back, and returns false whether or not that worked.
  bool install();

  // Relaunch.cpp

  /// Starts the application in the target bundle's place.
  bool relaunchTarget();

 protected:
  ZKUpdater() = default;

  // Handshake.cpp
  void releaseUpdateLock();
  void releaseInstallerSemaphore();

  // Discovery.cpp
  bool initTargetInfo();
  bool initUpdateInfo();
  /// The update's bundle inside the update directory, or absent.
  Ref<NSURL> updateBundleURL() const;

  // Installation.cpp

  /// `fileManager:shouldCopyItemAtURL:toURL:`: makes each copy replace what is at its destination.
  bool fileManager(NSFileManager& fileManager, const Ref<NSURL>& shouldCopyItemAtURL, const Ref<NSURL>& toURL) override;
  /// `fileManager:shouldProceedAfterError:copyingItemAtURL:toURL:`: stops each copy at its first error.
  bool fileManager(NSFileManager& fileManager, const Ref<NSError>& shouldProceedAfterError,
                   const Ref<NSURL>& copyingItemAtURL, const Ref<NSURL>& toURL) override;

  // ZKUpdater.cpp

  /// Logs a line when logging is on. One that there is no memory for is lost, and nothing else.
  /// @param category null for none
  void log(const char* category, const char* message) const;
  /// Logs a line of the category "Error".
  void logError(const char* message) const;

  std::int32_t targetPID = 0;
  Ref<NSURL> targetBundleURL;
  Ref<NSString> targetBundleId;
  Ref<NSURL> updateDirectory;
  Ref<ZKPOSIXSemaphore> updateSemaphore;     ///< absent unless the update lock is held
  Ref<ZKPOSIXSemaphore> installerSemaphore;  ///< absent unless it is held
  bool isLogEnabled = false;                 ///< tested before a line is logged; ZKUpdaterLog does not test it
};

}  // namespace zk
