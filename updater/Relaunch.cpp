#include "ZKUpdater.h"
#include "objects/NSArray.h"
#include "process/NSWorkspace.h"

namespace zk {

bool ZKUpdater::relaunchTarget() {
  // One setting of the application's: no automatic update at this start. None of the installer's own is passed on.
  const Ref<NSArray> arguments =
      NSArray::arrayWithObjects({"-com.quillory.tavoro.update.AutoUpdateEnabled"_ns, "NO"_ns});
  const Ref<NSDictionary> configuration =
      NSDictionary::dictionaryWithEntries({{NSWorkspaceLaunchConfigurationArguments, arguments}});
  constexpr unsigned long kOptions =
      NSWorkspaceLaunchNewInstance | NSWorkspaceLaunchAsync | NSWorkspaceLaunchWithoutAddingToRecents;

  if (NSWorkspace::sharedWorkspace().launchApplicationAtURL(targetBundleURL, kOptions, configuration)) return true;
  logError("Unable to relaunch target application.");
  return false;
}

}  // namespace zk
