#include "process/NSWorkspace.h"

#include "files/NSBundle.h"
#include "objects/NSArray.h"
#include "system/ErrorNumbers.h"
#include "system/System.h"

namespace zk {

namespace {

std::vector<std::string> argumentsIn(const Ref<NSDictionary>& configuration) {
  std::vector<std::string> arguments;
  const Ref<NSArray> list =
      configuration ? asArray(configuration->objectForKey(NSWorkspaceLaunchConfigurationArguments)) : nullptr;
  if (!list) return arguments;
  for (const Ref<NSObject>& argument : list->objects()) {
    if (const Ref<NSString> text = asString(argument)) arguments.push_back(text->bytes());
  }
  return arguments;
}

}  // namespace

NSWorkspace& NSWorkspace::sharedWorkspace() {
  static NSWorkspace workspace;
  return workspace;
}

Ref<NSRunningApplication> NSWorkspace::launchApplicationAtURL(const Ref<NSURL>& url, unsigned long options,
                                                              const Ref<NSDictionary>& configuration,
                                                              Ref<NSError>* error) {
  const Ref<NSBundle> bundle = NSBundle::bundleWithURL(url);
  const Ref<NSString> executable = bundle ? bundle->executablePath() : nullptr;
  const std::string path = executable ? fileSystemRepresentation(executable) : std::string();
  if (executable && System::current().launch(url, path, argumentsIn(configuration), options)) {
    return std::make_shared<NSRunningApplication>(url);
  }
  if (error != nullptr) *error = NSError::errorWithDomain(NSPOSIXErrorDomain, ZKENOENT, nullptr);
  return nullptr;
}

}  // namespace zk
