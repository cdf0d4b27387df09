#include "darwin/Workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "StandInFoundation.h"
#include "StandInWorkspace.h"

namespace zk::test {

namespace {

using ::testing::ElementsAre;

class Workspace : public ::testing::Test {
 protected:
  std::optional<bool> launch(const std::vector<std::string>& arguments = {"-key", "NO"},
                             const std::string& bundle = "/Applications/X.app") {
    return darwin::launchByWorkspace(bundle, arguments, 0x90100, &workspace.functions, &foundation.functions);
  }

  /// The workspace cannot be asked, so something else may be tried.
  void expectNotAsked() {
    EXPECT_EQ(launch(), std::nullopt);
    EXPECT_FALSE(workspace.launch);
  }

  StandInFoundation foundation;
  StandInWorkspace workspace{foundation};
};

TEST_F(Workspace, GetsTheBundleTheOptionsAndTheArguments) {
  EXPECT_EQ(launch({"-com.example.Enabled", "NO"}), true);
  ASSERT_TRUE(workspace.launch);
  EXPECT_EQ(workspace.launch->path, "/Applications/X.app/");
  EXPECT_EQ(workspace.launch->options, 0x90100UL);
  EXPECT_THAT(workspace.launch->keys, ElementsAre("NSWorkspaceLaunchConfigurationArguments"));
  EXPECT_THAT(workspace.launch->arguments, ElementsAre("-com.example.Enabled", "NO"));
  EXPECT_FALSE(workspace.launch->hasErrorPlace);
}

TEST_F(Workspace, MayGetNoArguments) {
  EXPECT_EQ(launch({}), true);
  ASSERT_TRUE(workspace.launch);
  EXPECT_THAT(workspace.launch->arguments, ElementsAre());
}

TEST_F(Workspace, DecidesWhetherTheApplicationStarts) {
  workspace.accepts = false;
  EXPECT_EQ(launch(), false);
}

TEST_F(Workspace, IsNotAskedForWhatCannotBeToldIt) {
  EXPECT_EQ(launch({"fine", "\xFF"}), false);
  EXPECT_EQ(launch({}, ""), false);
  EXPECT_FALSE(workspace.launch);
}

TEST_F(Workspace, MayHaveNoClass) {
  workspace.hasClass = false;
  expectNotAsked();
}

TEST_F(Workspace, MayHaveLostItsLaunchCall) {
  workspace.hasLaunchMethod = false;
  expectNotAsked();
}

TEST_F(Workspace, MayHaveLostItsSharedObject) {
  workspace.hasSharedMethod = false;
  expectNotAsked();
  workspace.hasSharedMethod = true;
  workspace.hasWorkspace = false;
  expectNotAsked();
}

TEST_F(Workspace, MayBeMissingAsAWhole) {
  EXPECT_EQ(darwin::launchByWorkspace("/x", {}, 0, nullptr, &foundation.functions), std::nullopt);
  EXPECT_EQ(darwin::launchByWorkspace("/x", {}, 0, &workspace.functions, nullptr), std::nullopt);
}

}  // namespace

}  // namespace zk::test
