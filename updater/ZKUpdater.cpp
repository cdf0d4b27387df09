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
  updater->log(nullptr, "Begin installation");

  if (updater->initTargetInfo() && updater->initUpdateInfo()) return updater;

  updater->logError("Initialization failed.");
  return nullptr;
}

ZKUpdater::~ZKUpdater() {
  unlessOutOfMemory([this] { releaseSemaphores(); });
  targetBundleURL = nullptr;
  targetBundleId = nullptr;
  updateDirectory = nullptr;
  log(nullptr, "End installation");
}

void ZKUpdater::log(const char* category, const char* message) const {
  if (!isLogEnabled) return;
  unlessOutOfMemory([&] {
    const Ref<NSString> categoryText = category == nullptr ? nullptr : NSString::stringWithUTF8String(category);
    ZKUpdaterLog(classObject(), this, categoryText, NSString::stringWithUTF8String(message));
  });
}

void ZKUpdater::logError(const char* message) const { log("Error", message); }

}  // namespace zk
