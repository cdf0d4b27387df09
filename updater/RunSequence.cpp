#include "RunSequence.h"

#include "ZKUpdater.h"
#include "objects/NSAutoreleasePool.h"
#include "objects/OutOfMemory.h"

namespace zk {

int runInstaller() {
  const NSAutoreleasePool pool;
  const Ref<ZKUpdater> created = unlessOutOfMemory([] { return autorelease(ZKUpdater::init()); });
  if (!created) return 1;
  // The pool owns the updater, which so ends after everything else here.
  ZKUpdater& updater = *created;

  const bool isInstalled = unlessOutOfMemory([&] { return updater.notifyReady(); }) &&
                           unlessOutOfMemory([&] { return updater.waitForUpdateLock(); }) &&
                           unlessOutOfMemory([&] { return updater.waitForTargetExit(); }) &&
                           unlessOutOfMemory([&] { return updater.install(); });

  // Whatever happened, the application is started again, even if it was not updated.
  unlessOutOfMemory([&] { updater.releaseSemaphores(); });
  unlessOutOfMemory([&] { return updater.relaunchTarget(); });
  return isInstalled ? 0 : 1;
}

}  // namespace zk
