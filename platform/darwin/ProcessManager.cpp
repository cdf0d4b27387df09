#include "darwin/ProcessManager.h"

#include "darwin/CoreFoundation.h"
#include "system/System.h"

namespace zk::darwin {

namespace {

std::optional<SerialNumber> serialNumberOf(std::int32_t pid, const ProcessManagerFunctions& manager) {
  SerialNumber process{};
  if (manager.GetProcessForPID == nullptr || manager.GetProcessForPID(pid, &process) != noErr) return std::nullopt;
  return process;
}

}  // namespace

Ref<NSDictionary> informationOf(std::int32_t pid, std::uint32_t mask, const ProcessManagerFunctions& manager,
                                const CoreFoundationFunctions* foundation) {
  const Ref<NSMutableDictionary> information = std::make_shared<NSMutableDictionary>();
  const std::optional<SerialNumber> process = serialNumberOf(pid, manager);
  if (!process || foundation == nullptr || manager.ProcessInformationCopyDictionary == nullptr) return information;
  const OwnedObject known(*foundation, manager.ProcessInformationCopyDictionary(&*process, mask));
  if (!known) return information;

  for (const Ref<NSString>& key : {Ref<NSString>(ZKBundlePathKey), Ref<NSString>(kCFBundleIdentifierKey),
                                   Ref<NSString>(kCFBundleExecutableKey)}) {
    const OwnedObject name = makeText(*foundation, key->bytes());
    if (!name) continue;
    const std::optional<std::string> text =
        textOf(*foundation, foundation->CFDictionaryGetValue(known.get(), name.get()));
    if (text) information->setObject(NSString::stringWithBytes(*text), key);
  }
  return information;
}

std::optional<std::uint32_t> launchStampOf(std::int32_t pid, const ProcessManagerFunctions& manager) {
  const std::optional<SerialNumber> process = serialNumberOf(pid, manager);
  if (!process || manager.GetProcessInformation == nullptr) return std::nullopt;
  InfoRecord information{};
  information.processInfoLength = sizeof information;
  if (manager.GetProcessInformation(&*process, &information) != noErr) return std::nullopt;
  return information.processLaunchDate;
}

}  // namespace zk::darwin
