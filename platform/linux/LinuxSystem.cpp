#include <map>
#include <mutex>

#include "linux/Launch.h"
#include "linux/ProcessBundle.h"
#include "linux/ProcessFacts.h"
#include "linux/ProcessOwner.h"
#include "objects/NSNumber.h"
#include "objects/NeverDestroyed.h"
#include "process/POSIXSystem.h"
#include "system/Port.h"

namespace zk {

namespace {

class LinuxSystem final : public POSIXSystem {
 public:
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process,
                                                     std::uint32_t /*mask*/) override {
    if (port::existenceOf(process.pid) == port::Existence::gone) return nullptr;
    const std::optional<ProcessOwner> owner = isRoot() ? ownerOf(process.pid) : std::nullopt;
    Ref<NSMutableDictionary> information = std::make_shared<NSMutableDictionary>();
    const std::optional<Executable> executable = executableOf(process.pid);
    if (!executable) return information;
    information->setObject(NSString::stringWithBytes(executable->path), kCFBundleExecutableKey);

    const ProcessBundle found = bundleOfProcess(process.pid, *executable);
    if (!found.bundle) return information;
    information->setObject(found.bundle->bundleURL()->path(), ZKBundlePathKey);
    if (isRoot()) rememberUser(found.bundle->bundleURL(), process.pid, owner);
    const Ref<NSString> identifier = found.bundle->bundleIdentifier();
    if (identifier) information->setObject(identifier, kCFBundleIdentifierKey);
    if (executable->isReplaced || found.isFromArguments) {
      information->setObject(NSNumber::numberWithBool(true), ZKBundleMayChangeKey);
    }
    return information;
  }

  /// Root starts it as the user whose process was the first to be looked up in this bundle. Anybody else starts it as
  /// themselves, and so does root where no process was looked up.
  bool launch(const Ref<NSURL>& bundle, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long /*options*/) override {
    const std::lock_guard lock(mutex_);
    const auto known = users_.find(bundle->path()->bytes());
    if (known == users_.end()) return launchDetached(executable, arguments);
    const std::optional<LaunchUser>& user = known->second;
    if (!user) return false;
    return isUserOfThisProcess(user->owner) ? launchDetached(executable, arguments)
                                            : launchDetachedAs(*user, executable, arguments);
  }

  Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) override {
    return zk::launchTask(executable, arguments);
  }

 private:
  void rememberUser(const Ref<NSURL>& bundle, std::int32_t pid, const std::optional<ProcessOwner>& owner) {
    const std::lock_guard lock(mutex_);
    const std::string& path = bundle->path()->bytes();
    if (!users_.contains(path)) users_.emplace(path, launchUserOf(pid, owner));
  }

  std::mutex mutex_;
  /// For each bundle that a process was found to run from, whom that process belonged to; nothing where it could not be
  /// found out. The processes that are looked up for records are remembered as well, but the target is the first of
  /// its bundle. It is gone when its bundle is launched.
  std::map<std::string, std::optional<LaunchUser>> users_;
};

}  // namespace

System& port::operatingSystem() {
  static LinuxSystem& system = neverDestroyed<LinuxSystem>();
  return system;
}

}  // namespace zk
