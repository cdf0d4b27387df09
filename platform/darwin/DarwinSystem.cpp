#include <crt_externs.h>
#include <unistd.h>

#include <map>
#include <mutex>

#include "darwin/FoundFunctions.h"
#include "darwin/KernelProcess.h"
#include "darwin/ProcessManager.h"
#include "darwin/Spawn.h"
#include "darwin/Workspace.h"
#include "objects/NeverDestroyed.h"
#include "process/POSIXSystem.h"
#include "system/Port.h"

namespace zk {

namespace {

class DarwinSystem final : public POSIXSystem {
 public:
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process, std::uint32_t mask) override {
    if (port::existenceOf(process.pid) == port::Existence::gone) return nullptr;
    const std::optional<uid_t> user = darwin::userOf(process.pid);
    const Ref<NSDictionary> information =
        darwin::informationOf(process.pid, mask, darwin::processManager(), darwin::coreFoundation());
    if (const Ref<NSString> bundle = asString(information->objectForKey(ZKBundlePathKey))) {
      const std::lock_guard lock(mutex_);
      users_.emplace(bundle->bytes(), user);
    }
    return information;
  }

  /// Nothing is started as root that ran as somebody else: such an application is not started again at all.
  bool launch(const Ref<NSURL>& bundle, const std::string& /*executable*/, const std::vector<std::string>& arguments,
              unsigned long options) override {
    if (!mayLaunch(bundle->path()->bytes())) return false;
    const std::string path = fileSystemRepresentation(bundle->path());
    const std::optional<bool> isLaunched =
        darwin::launchByWorkspace(path, arguments, options, darwin::objectiveC(), darwin::coreFoundation());
    if (isLaunched) return *isLaunched;

    std::vector<std::string> openArguments{"-n", path, "--args"};
    openArguments.insert(openArguments.end(), arguments.begin(), arguments.end());
    return darwin::runToSuccess("/usr/bin/open", openArguments, *::_NSGetEnviron());
  }

  Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) override {
    return darwin::spawnTask(executable, arguments, *::_NSGetEnviron());
  }

 private:
  bool mayLaunch(const std::string& bundle) {
    const std::lock_guard lock(mutex_);
    const auto known = users_.find(bundle);
    return known == users_.end() || known->second == ::geteuid();
  }

  std::mutex mutex_;
  /// For each bundle, the user of the first process that was found to run from it; nothing where it could not be found
  /// out. When the bundle is launched, that process is gone.
  std::map<std::string, std::optional<uid_t>> users_;
};

}  // namespace

std::optional<std::uint32_t> port::launchStampOf(std::int32_t pid) {
  return darwin::launchStampOf(pid, darwin::processManager());
}

System& port::operatingSystem() {
  static DarwinSystem& system = neverDestroyed<DarwinSystem>();
  return system;
}

}  // namespace zk
