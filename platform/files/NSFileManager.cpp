#include "files/NSFileManager.h"

#include "objects/NSAutoreleasePool.h"
#include "process/System.h"

namespace zk {

Ref<NSFileManager> NSFileManager::defaultManager() {
  static const Ref<NSFileManager> shared = std::make_shared<NSFileManager>();
  return shared;
}

Ref<NSFileManager> NSFileManager::fileManager() { return autorelease(System::current().makeFileManager()); }

}  // namespace zk
