#include "linux/Launch.h"
#include "linux/ProcessBundle.h"
#include "linux/ProcessExistence.h"
#include "linux/ProcessFacts.h"
#include "objects/NSNumber.h"
#include "objects/NeverDestroyed.h"
#include "process/POSIXSystem.h"
#include "system/Port.h"

namespace zk {

namespace {

/// The look-up itself failed: any status but "no error" and "no such process".
constexpr OSStatusCode kLookUpFailed = -50;

class LinuxSystem final : public POSIXSystem {
 public:
  OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override {
    switch (existenceOf(pid)) {
      case Existence::exists:
        process.pid = pid;
        return noErr;
      case Existence::gone:
        return procNotFound;
      case Existence::unknown:
        break;
    }
    return kLookUpFailed;
  }

  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process,
                                                     std::uint32_t /*mask*/) override {
    if (existenceOf(process.pid) == Existence::gone) return nullptr;
    Ref<NSMutableDictionary> information = std::make_shared<NSMutableDictionary>();
    const std::optional<Executable> executable = executableOf(process.pid);
    if (!executable) return information;
    information->setObject(NSString::stringWithBytes(executable->path), kCFBundleExecutableKey);

    const ProcessBundle found = bundleOfProcess(process.pid, *executable);
    if (!found.bundle) return information;
    information->setObject(found.bundle->bundleURL()->path(), ZKBundlePathKey);
    const Ref<NSString> identifier = found.bundle->bundleIdentifier();
    if (identifier) information->setObject(identifier, kCFBundleIdentifierKey);
    if (executable->isReplaced || found.isFromArguments) {
      information->setObject(NSNumber::numberWithBool(true), ZKBundleMayChangeKey);
    }
    return information;
  }

  OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) override {
    const std::optional<std::uint32_t> stamp = launchStampOf(process.pid);
    if (!stamp) return kLookUpFailed;
    info.processLaunchDate = *stamp;
    return noErr;
  }

  bool launch(const Ref<NSURL>& /*bundle*/, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long /*options*/) override {
    return launchDetached(executable, arguments);
  }
};

}  // namespace

System& port::operatingSystem() {
  static LinuxSystem& system = neverDestroyed<LinuxSystem>();
  return system;
}

}  // namespace zk
