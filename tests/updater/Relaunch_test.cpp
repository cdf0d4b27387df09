#include <gtest/gtest.h>

#include "ZKUpdater.h"
#include "support/TemporaryFolder.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

using Lines = std::vector<std::string>;

class Relaunch : public testing::Test {
 protected:
  Relaunch() {
    test::writeFile(folder / "A.app/Contents/Info.plist", "{CFBundleExecutable = run;}");
    run.information = NSDictionary::dictionaryWithEntries(
        {{ZKBundlePathKey, folder.url("A.app")->path()}, {kCFBundleIdentifierKey, "com.example.a"_ns}});
    updater = ZKUpdater::init();
    run.rawLog.clear();
  }

  test::TemporaryFolder folder;
  test::ScriptedRun run;
  System::Scope scope{run};
  Ref<ZKUpdater> updater;
};

TEST_F(Relaunch, StartsTheTargetWithExactlyTwoArguments) {
  EXPECT_TRUE(updater->relaunchTarget());
  EXPECT_EQ(run.launched, (Lines{(folder / "A.app/Contents/MacOS/run").string(),
                                 "-com.quillory.tavoro.update.AutoUpdateEnabled", "NO"}));
  EXPECT_TRUE(run.rawLog.empty());
}

TEST_F(Relaunch, LogsALaunchThatIsRefused) {
  run.launchSucceeds = false;
  EXPECT_FALSE(updater->relaunchTarget());
  EXPECT_EQ(run.logLines(), (Lines{"Error: Unable to relaunch target application."}));
}

TEST_F(Relaunch, LogsABundleThatIsGone) {
  std::filesystem::remove_all(folder / "A.app");
  EXPECT_FALSE(updater->relaunchTarget());
  EXPECT_TRUE(run.launched.empty());
  EXPECT_EQ(run.logLines(), (Lines{"Error: Unable to relaunch target application."}));
}

TEST_F(Relaunch, AsksForANewInstanceThatIsNotWaitedForAndEntersNoList) {
  EXPECT_TRUE(updater->relaunchTarget());
  EXPECT_EQ(run.launchOptions, 0x90100UL);
}

}  // namespace
}  // namespace zk
