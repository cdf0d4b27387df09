#include "ZKUpdater.h"
#include "files/BundleSearch.h"
#include "objects/NSAutoreleasePool.h"
#include "process/NSUserDefaults.h"
#include "system/System.h"

namespace zk {

bool ZKUpdater::initTargetInfo() {
  // Only the low 32 bits count. A negative id is passed on; the look-up finds that it does not exist.
  const auto pid = static_cast<std::int32_t>(NSUserDefaults::standardUserDefaults().integerForKey("pid"_ns));
  if (pid == 0) {
    logError("Target PID not specified.");
    return false;
  }

  ProcessSerialNumber process;
  if (System::current().GetProcessForPID(pid, process) != noErr) {
    logError("Unable to get target process serial number.");
    return false;
  }

  const Ref<NSDictionary> information = autorelease(
      System::current().ProcessInformationCopyDictionary(process, kProcessDictionaryIncludeAllInformationMask));
  if (!information) {
    logError("Unable to get target process info.");
    return false;
  }
  // A path that cannot be made into a URL counts as missing.
  const Ref<NSURL> bundleURL = NSURL::fileURLWithPath(asString(information->objectForKey(ZKBundlePathKey)));
  if (!bundleURL) {
    logError("Unable to get target process bundle path.");
    return false;
  }
  const Ref<NSString> bundleId = asString(information->objectForKey(kCFBundleIdentifierKey));
  if (length(bundleId) == 0) {
    logError("Unable to get target process bundle id.");
    return false;
  }

  targetPID = pid;
  targetBundleURL = bundleURL;
  targetBundleId = bundleId;
  return true;
}

bool ZKUpdater::initUpdateInfo() {
  const Ref<NSString> updatePath = NSUserDefaults::standardUserDefaults().stringForKey("updatePath"_ns);
  if (length(updatePath) == 0) {
    logError("Invalid update path.");
    return false;
  }
  // Whether the folder exists is found out only when the bundle is looked for.
  updateDirectory = NSURL::fileURLWithPath(updatePath);
  if (!updateDirectory) {
    logError("Invalid update directory.");
    return false;
  }
  return true;
}

Ref<NSURL> ZKUpdater::updateBundleURL() const {
  return bundleInFolder(updateDirectory, targetBundleURL->lastPathComponent(), targetBundleId);
}

}  // namespace zk
