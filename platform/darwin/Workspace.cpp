#include "darwin/Workspace.h"

#include "darwin/CoreFoundation.h"

namespace zk::darwin {

namespace {

/// A scope of temporarily owned objects of Objective-C.
class Pool {
 public:
  explicit Pool(const ObjectiveCFunctions& objectiveC)
      : objectiveC_(objectiveC), pool_(objectiveC.objc_autoreleasePoolPush()) {}
  ~Pool() { objectiveC_.objc_autoreleasePoolPop(pool_); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

 private:
  const ObjectiveCFunctions& objectiveC_;
  void* pool_;
};

OwnedObject makeList(const CoreFoundationFunctions& foundation, const std::vector<std::string>& texts) {
  std::vector<OwnedObject> objects;
  std::vector<Object> values;
  for (const std::string& text : texts) {
    objects.push_back(makeText(foundation, text));
    if (!objects.back()) return {foundation, nullptr};
    values.push_back(objects.back().get());
  }
  return {foundation, foundation.CFArrayCreate(nullptr, values.data(), static_cast<long>(values.size()),
                                               foundation.kCFTypeArrayCallBacks)};
}

/// The launch configuration whose one entry is the arguments.
OwnedObject makeConfiguration(const CoreFoundationFunctions& foundation, Object key,
                              const std::vector<std::string>& arguments) {
  const OwnedObject list = makeList(foundation, arguments);
  const Object value = list.get();
  if (!list) return {foundation, nullptr};
  return {foundation, foundation.CFDictionaryCreate(nullptr, &key, &value, 1, foundation.kCFTypeDictionaryKeyCallBacks,
                                                    foundation.kCFTypeDictionaryValueCallBacks)};
}

OwnedObject makeFolderURL(const CoreFoundationFunctions& foundation, const std::string& path) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(path.data());
  return {foundation, foundation.CFURLCreateFromFileSystemRepresentation(nullptr, bytes, static_cast<long>(path.size()),
                                                                         /*isDirectory=*/1)};
}

}  // namespace

std::optional<bool> launchByWorkspace(const std::string& bundle, const std::vector<std::string>& arguments,
                                      unsigned long options, const ObjectiveCFunctions* objectiveC,
                                      const CoreFoundationFunctions* foundation) {
  if (objectiveC == nullptr || foundation == nullptr) return std::nullopt;
  const Pool pool(*objectiveC);
  const Object workspaceClass = objectiveC->objc_getClass("NSWorkspace");
  if (workspaceClass == nullptr) return std::nullopt;
  const Object sharedSelector = objectiveC->sel_registerName("sharedWorkspace");
  const Object launchSelector =
      objectiveC->sel_registerName("launchApplicationAtURL:options:configuration:error:");
  const Object sharedMethod = objectiveC->class_getClassMethod(workspaceClass, sharedSelector);
  const Object launchMethod = objectiveC->class_getInstanceMethod(workspaceClass, launchSelector);
  if (sharedMethod == nullptr || launchMethod == nullptr) return std::nullopt;

  // The implementations are called directly. They take the receiver and the selector first.
  const auto shared = reinterpret_cast<SharedWorkspaceMethod>(objectiveC->method_getImplementation(sharedMethod));
  const auto launch = reinterpret_cast<LaunchMethod>(objectiveC->method_getImplementation(launchMethod));
  const Object workspace = shared(workspaceClass, sharedSelector);
  if (workspace == nullptr) return std::nullopt;

  // Core Foundation's objects serve as those of the same kind in Objective-C.
  const OwnedObject url = makeFolderURL(*foundation, bundle);
  const OwnedObject configuration =
      makeConfiguration(*foundation, *objectiveC->NSWorkspaceLaunchConfigurationArguments, arguments);
  if (!url || !configuration) return false;
  return launch(workspace, launchSelector, url.get(), options, configuration.get(), nullptr) != nullptr;
}

}  // namespace zk::darwin
