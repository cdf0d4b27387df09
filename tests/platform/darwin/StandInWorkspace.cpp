#include "StandInWorkspace.h"

#include <gtest/gtest.h>

#include <string_view>

namespace zk::test {

using darwin::Object;

namespace {

StandInWorkspace* current = nullptr;

// Their addresses are what counts.
const char workspaceClass = 0;
const char sharedSelector = 0;
const char launchSelector = 0;
const char sharedMethod = 0;
const char launchMethod = 0;
const char workspace = 0;

Object sharedWorkspace(Object receiver, Object selector) {
  EXPECT_EQ(receiver, &workspaceClass);
  EXPECT_EQ(selector, &sharedSelector);
  return current->hasWorkspace ? &workspace : nullptr;
}

Object launchApplication(Object receiver, Object selector, Object url, unsigned long options, Object configuration,
                         Object* error) {
  EXPECT_EQ(receiver, &workspace);
  EXPECT_EQ(selector, &launchSelector);
  StandInWorkspace::Launch launch{StandInFoundation::pathOf(url), options, {}, {}, error != nullptr};
  for (const auto& [key, value] : StandInFoundation::entriesOf(configuration)) {
    launch.keys.push_back(key);
    launch.arguments = StandInFoundation::textsOf(value);
  }
  current->launch = launch;
  if (!current->accepts) return nullptr;
  const Object application = StandInFoundation::text("the launched application");
  EXPECT_FALSE(current->pools.empty()) << "nobody will release the application";
  current->pools.back().push_back(application);
  return application;
}

Object selectorNamed(const char* name) {
  const std::string_view text = name;
  if (text == "sharedWorkspace") return &sharedSelector;
  if (text == "launchApplicationAtURL:options:configuration:error:") return &launchSelector;
  ADD_FAILURE() << name;
  return nullptr;
}

void* openPool() {
  current->pools.emplace_back();
  return &current->pools.back();
}

void closePool(void* pool) {
  EXPECT_EQ(pool, &current->pools.back());
  for (const Object object : current->pools.back()) current->foundation.functions.CFRelease(object);
  current->pools.pop_back();
}

}  // namespace

StandInWorkspace::StandInWorkspace(StandInFoundation& theFoundation)
    : foundation(theFoundation), argumentsKey(StandInFoundation::text("NSWorkspaceLaunchConfigurationArguments")) {
  EXPECT_EQ(current, nullptr);
  current = this;
  functions.objc_getClass = [](const char* name) -> Object {
    EXPECT_STREQ(name, "NSWorkspace");
    return current->hasClass ? &workspaceClass : nullptr;
  };
  functions.sel_registerName = selectorNamed;
  functions.class_getClassMethod = [](Object receiver, Object selector) -> Object {
    EXPECT_EQ(receiver, &workspaceClass);
    return current->hasSharedMethod && selector == &sharedSelector ? &sharedMethod : nullptr;
  };
  functions.class_getInstanceMethod = [](Object receiver, Object selector) -> Object {
    EXPECT_EQ(receiver, &workspaceClass);
    return current->hasLaunchMethod && selector == &launchSelector ? &launchMethod : nullptr;
  };
  functions.method_getImplementation = [](Object method) {
    return method == &sharedMethod ? reinterpret_cast<void (*)()>(sharedWorkspace)
                                   : reinterpret_cast<void (*)()>(launchApplication);
  };
  functions.objc_autoreleasePoolPush = openPool;
  functions.objc_autoreleasePoolPop = closePool;
  functions.NSWorkspaceLaunchConfigurationArguments = &argumentsKey;
}

StandInWorkspace::~StandInWorkspace() {
  EXPECT_TRUE(pools.empty()) << "a pool is still open";
  foundation.functions.CFRelease(argumentsKey);
  current = nullptr;
}

}  // namespace zk::test
