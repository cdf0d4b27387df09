#include "ZKUpdater.h"
#include "process/NSThread.h"
#include "process/NSUserDefaults.h"
#include "system/System.h"

namespace zk {

namespace {

constexpr std::uint16_t kSharedMode = 0666;
constexpr std::size_t kFree = 1;  ///< the count of a semaphore that nobody holds

constexpr std::size_t kMaxLockAttempts = 1000;
constexpr int kMaxExitChecks = 1000;
/// Seconds between two tries for the lock, and between two checks whether the target has exited. A thousand of them
/// (the two counts above) are the "about 100 seconds" that the documents promise.
constexpr double kTestInterval = 0.1;

/// A semaphore shared with the target. It is created if the target has not created it yet.
Ref<ZKPOSIXSemaphore> sharedSemaphore(const Ref<NSString>& name) {
  return ZKPOSIXSemaphore::createWithName(name, false, kSharedMode, kFree);
}

}  // namespace

bool ZKUpdater::notifyReady() {
  const Ref<NSString> name = NSUserDefaults::standardUserDefaults().stringForKey("installerSemaphore"_ns);
  if (length(name) == 0) return true;

  releaseInstallerSemaphore();
  const Ref<ZKPOSIXSemaphore> semaphore = sharedSemaphore(name);
  if (!semaphore) {
    logError("Failed to create installer semaphore.");
    return false;
  }
  if (!semaphore->wait()) {
    logError("Failed to acquire installer semaphore.");
    return false;
  }
  installerSemaphore = semaphore;
  return true;
}

bool ZKUpdater::waitForUpdateLock() {
  const Ref<NSString> name = NSUserDefaults::standardUserDefaults().stringForKey("updateSemaphore"_ns);
  if (length(name) == 0) return true;

  releaseUpdateLock();
  const Ref<ZKPOSIXSemaphore> semaphore = sharedSemaphore(name);
  if (!semaphore) {
    logError("Failed to create update semaphore.");
    return false;
  }
  if (!semaphore->waitWithProcessInfo(updateDirectory, kMaxLockAttempts, kTestInterval)) {
    logError("Failed to acquire update semaphore.");
    return false;
  }
  updateSemaphore = semaphore;
  return true;
}

bool ZKUpdater::waitForTargetExit() {
  for (int check = 0; check < kMaxExitChecks; ++check) {
    ProcessSerialNumber process;
    const OSStatusCode status = System::current().GetProcessForPID(targetPID, process);
    if (status == procNotFound) return true;
    if (status != noErr) {
      logError("Failed to watch target process exit.");
      return false;
    }
    // Also after the last check, deliberately: there are 1000 pauses in all.
    NSThread::sleepForTimeInterval(kTestInterval);
  }
  logError("Target process exit wait expired.");
  return false;
}

void ZKUpdater::releaseSemaphores() {
  releaseUpdateLock();
  releaseInstallerSemaphore();
}

void ZKUpdater::releaseUpdateLock() {
  if (!updateSemaphore) return;
  updateSemaphore->postWithProcessInfo(updateDirectory);
  updateSemaphore = nullptr;
}

void ZKUpdater::releaseInstallerSemaphore() {
  if (!installerSemaphore) return;
  installerSemaphore->post();
  installerSemaphore = nullptr;
}

}  // namespace zk
