#include "RunSequence.h"

#include "ZKUpdater.h"
#include "objects/NSAutoreleasePool.h"
#include "objects/OutOfMemory.h"

namespace zk {

int runInstaller() {
  const NSAutoreleasePool pool;
  const Ref<ZKUpdater> created = unlessOutOfMemory([] { return autorelease(ZKUpdater::init()); });
  if (!created) return 1;
  // The scope is the owner: the updater ends when the scope closes, after everything else here.
  ZKUpdater& updater = *created;

  const bool isInstalled = unlessOutOfMemory([&] { return updater.notifyReady(); }) &&
                           unlessOutOfMemory([&] { return updater.waitForUpdateLock(); }) &&
                           unlessOutOfMemory([&] { return updater.waitForTargetExit(); }) &&
                           unlessOutOfMemory([&] { return updater.install(); });

  // Whatever happened: the application is started again also when it was not updated.
  unlessOutOfMemory([&] { updater.releaseSemaphores(); });
  unlessOutOfMemory([&] { return updater.relaunchTarget(); });
  return isInstalled ? 0 : 1;
}

}  // namespace zk
