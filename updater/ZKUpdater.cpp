#include "ZKUpdater.h"

#include "ZKUpdaterLog.h"
#include "objects/OutOfMemory.h"
#include "process/NSUserDefaults.h"

namespace zk {

Class ZKUpdater::classObject() {
  static constexpr ClassInfo info{"ZKUpdater"};
  return &info;
}

Ref<ZKUpdater> ZKUpdater::init() {
  Ref<ZKUpdater> updater(new ZKUpdater);
  updater->isLogEnabled = NSUserDefaults::standardUserDefaults().boolForKey("enableLog"_ns);
  if (updater->isLogEnabled) ZKUpdaterLog(classObject(), updater.get(), nullptr, "Begin installation"_ns);

  if (updater->initTargetInfo() && updater->initUpdateInfo()) return updater;

  updater->logError("Initialization failed.");
  return nullptr;
}

ZKUpdater::~ZKUpdater() {
  unlessOutOfMemory([this] { releaseSemaphores(); });
  targetBundleURL = nullptr;
  targetBundleId = nullptr;
  updateDirectory = nullptr;
  if (isLogEnabled) unlessOutOfMemory([this] { ZKUpdaterLog(classObject(), this, nullptr, "End installation"_ns); });
}

void ZKUpdater::logError(const char* message) const {
  if (isLogEnabled) ZKUpdaterLog(classObject(), this, "Error"_ns, NSString::stringWithUTF8String(message));
}

}  // namespace zk
