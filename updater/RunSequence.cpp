#include "RunSequence.h"

#include "Attempt.h"
#include "ZKUpdater.h"
#include "objects/NSAutoreleasePool.h"

namespace zk {

int runInstaller() {
  const NSAutoreleasePool pool;
  const Ref<ZKUpdater> created = attempt([] { return autorelease(ZKUpdater::init()); });
  if (!created) return 1;
  // The scope is the owner: the updater ends when the scope closes, after everything else here.
  ZKUpdater& updater = *created;

  const bool isInstalled =
      attempt([&] { return updater.notifyReady(); }) && attempt([&] { return updater.waitForUpdateLock(); }) &&
      attempt([&] { return updater.waitForTargetExit(); }) && attempt([&] { return updater.install(); });

  // Whatever happened: the application is started again also when it was not updated.
  attempt([&] { updater.releaseSemaphores(); });
  attempt([&] { return updater.relaunchTarget(); });
  return isInstalled ? 0 : 1;
}

}  // namespace zk
