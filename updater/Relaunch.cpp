#include "ZKUpdater.h"
#include "objects/NSArray.h"
#include "process/NSWorkspace.h"

namespace zk {

bool ZKUpdater::relaunchTarget() {
  // One setting for the application: no automatic update this time. The installer's own settings are not passed on.
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
