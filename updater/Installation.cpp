#include "ZKUpdater.h"

namespace zk {

bool ZKUpdater::install() {
  const Ref<NSFileManager> files = NSFileManager::fileManager();
  if (!files) {
    logError("Unable to create File Manager.");
    return false;
  }
  const Ref<NSURL> update = updateBundleURL();
  if (!update) {
    logError("Unable to locate update bundle.");
    return false;
  }
  files->setDelegate(this);

  const Ref<NSURL> temporaryDirectory =
      files->URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, targetBundleURL, true);
  if (!temporaryDirectory) {
    logError("Unable to create temporary directory.");
    return false;
  }

  // The copy replaces its destination, so the backup is at the temporary directory's own path, not inside it.
  if (!files->copyItemAtURL(targetBundleURL, temporaryDirectory)) {
    logError("Unable to backup target.");
    return false;
  }

  // One level below the backup itself. Deliberate: the rollback reads from there, and the whole backup stays at the
  // temporary directory's path for whoever recovers the old bundle by hand.
  const Ref<NSString> bundleName = targetBundleURL->lastPathComponent();
  const Ref<NSURL> backup =
      length(bundleName) > 0 ? temporaryDirectory->URLByAppendingPathComponent(bundleName) : nullptr;
  if (!backup) {
    logError("Bad target bundle backup url.");
    return false;
  }

  if (files->copyItemAtURL(update, targetBundleURL)) return true;

  logError("Copy update to target failed. Performing rollback.");
  files->copyItemAtURL(backup, targetBundleURL);
  return false;
}

bool ZKUpdater::fileManager(NSFileManager& fileManager, const Ref<NSURL>& /*shouldCopyItemAtURL*/,
                            const Ref<NSURL>& toURL) {
  fileManager.removeItemAtURL(toURL);
  return true;
}

bool ZKUpdater::fileManager(NSFileManager& /*fileManager*/, const Ref<NSError>& /*shouldProceedAfterError*/,
                            const Ref<NSURL>& /*copyingItemAtURL*/, const Ref<NSURL>& /*toURL*/) {
  return false;
}

}  // namespace zk
