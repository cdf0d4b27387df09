#include "process/NSWorkspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "objects/NSArray.h"
#include "objects/NSNumber.h"
#include "support/ForwardingSystem.h"
#include "support/TemporaryFolder.h"
#include "system/ErrorNumbers.h"

namespace zk::test {

namespace {

using ::testing::ElementsAre;

/// Records launches instead of making them.
class LaunchingSystem final : public ForwardingSystem {
 public:
  bool launch(const Ref<NSURL>& bundle, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long /*options*/) override {
    ++launches;
    launchedBundle = bundle->path()->bytes();
    launchedExecutable = executable;
    launchedArguments = arguments;
    return isAccepting;
  }

  bool isAccepting = true;
  int launches = 0;
  std::string launchedBundle;
  std::string launchedExecutable;
  std::vector<std::string> launchedArguments;
};

class NSWorkspaceTest : public ::testing::Test {
 protected:
  Ref<NSRunningApplication> launch(const Ref<NSURL>& url, const Ref<NSDictionary>& configuration,
                                   Ref<NSError>* error = nullptr) {
    return NSWorkspace::sharedWorkspace().launchApplicationAtURL(url, 0, configuration, error);
  }

  const TemporaryFolder folder;
  LaunchingSystem system;
  const System::Scope scope{system};
};

Ref<NSDictionary> withArguments(const Ref<NSObject>& arguments) {
  return NSDictionary::dictionaryWithEntries({{NSWorkspaceLaunchConfigurationArguments, arguments}});
}

TEST_F(NSWorkspaceTest, LaunchesTheProgramOfABundleWithTheArguments) {
  writeFile(folder / "X.app/Contents/Info.plist",
            "<plist><dict><key>CFBundleExecutable</key><string>program</string></dict></plist>");
  const Ref<NSRunningApplication> application =
      launch(folder.url("X.app"), withArguments(NSArray::arrayWithObjects({"-key"_ns, "NO"_ns})));
  ASSERT_TRUE(application);
  EXPECT_TRUE(application->bundleURL()->isEqual(folder.url("X.app")));
  EXPECT_EQ(system.launchedExecutable, folder / "X.app/Contents/MacOS/program");
  EXPECT_EQ(system.launchedBundle, folder / "X.app");
  EXPECT_THAT(system.launchedArguments, ElementsAre("-key", "NO"));
  EXPECT_EQ(system.launches, 1);
}

TEST_F(NSWorkspaceTest, LaunchesWithoutArgumentsIfTheConfigurationNamesNone) {
  for (const Ref<NSDictionary>& configuration :
       {Ref<NSDictionary>(), NSDictionary::dictionaryWithEntries({}), withArguments("no list"_ns),
        withArguments(NSArray::arrayWithObjects({}))}) {
    EXPECT_TRUE(launch(folder.url(), configuration));
    EXPECT_THAT(system.launchedArguments, ElementsAre());
  }
}

TEST_F(NSWorkspaceTest, PassesOnTextsOnly) {
  launch(folder.url(), withArguments(NSArray::arrayWithObjects({"one"_ns, NSNumber::numberWithInt(2), "three"_ns})));
  EXPECT_THAT(system.launchedArguments, ElementsAre("one", "three"));
}

TEST_F(NSWorkspaceTest, ReportsALaunchThatTheSystemRefuses) {
  system.isAccepting = false;
  Ref<NSError> error;
  EXPECT_FALSE(launch(folder.url(), nullptr, &error));
  ASSERT_TRUE(error);
  EXPECT_TRUE(error->domain()->isEqual(NSPOSIXErrorDomain));
  EXPECT_EQ(error->code(), ZKENOENT);
  EXPECT_FALSE(launch(folder.url(), nullptr));
}

TEST_F(NSWorkspaceTest, LaunchesNothingWithoutABundle) {
  writeFile(folder / "file", "");
  for (const Ref<NSURL>& url : {folder.url("missing"), folder.url("file"), Ref<NSURL>()}) {
    Ref<NSError> error;
    EXPECT_FALSE(launch(url, nullptr, &error));
    EXPECT_TRUE(error);
  }
  EXPECT_EQ(system.launches, 0);
}

TEST_F(NSWorkspaceTest, LaunchesNothingOutsideTheBundle) {
  writeFile(folder / "X.app/Contents/Info.plist",
            "<plist><dict><key>CFBundleExecutable</key><string>../../../sh</string></dict></plist>");
  EXPECT_FALSE(launch(folder.url("X.app"), nullptr));
  EXPECT_EQ(system.launches, 0);
}

TEST_F(NSWorkspaceTest, LeavesTheErrorUntouchedOnSuccess) {
  Ref<NSError> error;
  EXPECT_TRUE(launch(folder.url(), nullptr, &error));
  EXPECT_FALSE(error);
}

}  // namespace

}  // namespace zk::test
