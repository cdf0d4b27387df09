#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ZKUpdater.h"
#include "support/TemporaryFolder.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

using Lines = std::vector<std::string>;

class Installation : public testing::Test {
 protected:
  Installation() {
    std::filesystem::create_directories(folder / "A.app");
    run.settings[4] = folder.path().string();
  }
  bool install() {
    const auto updater = ZKUpdater::init();
    run.rawLog.clear();
    run.events.clear();
    const bool isInstalled = updater->install();
    lines = run.logLines();
    return isInstalled;
  }
  std::string update() const { return (folder / "A.app").string(); }

  test::TemporaryFolder folder;
  test::ScriptedRun run;
  System::Scope scope{run};
  Lines lines;
};

TEST_F(Installation, BacksUpThenSwaps) {
  EXPECT_TRUE(install());
  EXPECT_EQ(run.events, (Lines{"temporary 99 1 /volume/A.app create", "copy /volume/A.app to /volume/.temporary",
                               "copy " + update() + " to /volume/A.app"}));
  EXPECT_TRUE(lines.empty());
}

TEST_F(Installation, FailsWithoutAFileManager) {
  run.fileManager = nullptr;
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Unable to create File Manager."}));
}

TEST_F(Installation, FailsWithoutAnUpdateBundleBeforeAnythingIsTouched) {
  std::filesystem::remove(folder / "A.app");
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Unable to locate update bundle."}));
  EXPECT_TRUE(run.events.empty());
}

TEST_F(Installation, MakesTheFileManagerBeforeItLooksForTheUpdateBundle) {
  run.fileManager = nullptr;
  std::filesystem::remove(folder / "A.app");
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Unable to create File Manager."}));
}

TEST_F(Installation, FailsWithoutATemporaryDirectory) {
  run.fileManager->temporaryDirectory = nullptr;
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Unable to create temporary directory."}));
  EXPECT_EQ(run.events.size(), 1U);
}

TEST_F(Installation, AFailedBackupLeavesTheTargetAlone) {
  run.fileManager->failingCopy = 1;
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Unable to backup target."}));
  EXPECT_EQ(run.events.back(), "copy /volume/A.app to /volume/.temporary");
}

TEST_F(Installation, ATargetWithoutANameFailsAfterItsBackup) {
  test::writeFile(folder / "A.app/Contents/Info.plist", "{CFBundleIdentifier = \"com.example.a\";}");
  run.information =
      NSDictionary::dictionaryWithEntries({{ZKBundlePathKey, "/"_ns}, {kCFBundleIdentifierKey, "com.example.a"_ns}});
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Bad target bundle backup url."}));
  EXPECT_EQ(run.events.back(), "copy / to /volume/.temporary");
}

TEST_F(Installation, ABackupPlaceThatNoURLCanNameFailsAfterTheBackup) {
  run.fileManager->temporaryDirectory = NSURL::fileURLWithPath(NSString::stringWithBytes("/" + std::string(4093, 'x')));
  EXPECT_FALSE(install());
  EXPECT_EQ(lines, (Lines{"Error: Bad target bundle backup url."}));
}

TEST_F(Installation, AFailedSwapRollsBackFromOneLevelBelowTheBackupAndStillFails) {
  run.fileManager->failingCopy = 2;
  EXPECT_FALSE(install()) << "though the rollback itself succeeds";
  EXPECT_EQ(run.events,
            (Lines{"temporary 99 1 /volume/A.app create", "copy /volume/A.app to /volume/.temporary",
                   "copy " + update() + " to /volume/A.app", "copy /volume/.temporary/A.app to /volume/A.app"}));
  EXPECT_EQ(lines, (Lines{"Error: Copy update to target failed. Performing rollback."}));
}

TEST_F(Installation, LogsTheRollbackBeforeItBegins) {
  class LoggingSystem : public test::ScriptedRun {
   public:
    void log(const std::string& message) override { events.push_back(withoutPrefix(message)); }
  } system;
  system.settings = run.settings;
  system.fileManager->failingCopy = 2;
  const System::Scope inner(system);
  EXPECT_FALSE(ZKUpdater::init()->install());
  ASSERT_GE(system.events.size(), 4U);
  EXPECT_EQ(
      Lines(system.events.end() - 4, system.events.end()),
      (Lines{"copy " + update() + " to /volume/A.app", "Error: Copy update to target failed. Performing rollback.",
             "copy /volume/.temporary/A.app to /volume/A.app", "End installation"}));
}

/// The same on a real tree, with the real file manager.
class RealInstallation : public testing::Test {
 protected:
  class RealFiles : public test::ScriptedRun {
   public:
    Ref<NSFileManager> makeFileManager() override { return std::make_shared<NSFileManager>(); }
  };

  RealInstallation() {
    test::writeFile(folder / "volume/A.app/old", "old");
    test::writeFile(folder / "update/A.app/new", "new");
    run.settings[4] = (folder / "update").string();
    run.information = NSDictionary::dictionaryWithEntries(
        {{ZKBundlePathKey, folder.url("volume/A.app")->path()}, {kCFBundleIdentifierKey, "com.example.a"_ns}});
  }
  bool install() {
    const auto updater = ZKUpdater::init();
    const bool isInstalled = updater->install();
    lines = run.logLines();
    return isInstalled;
  }
  /// The one folder beside the target: the backup.
  std::filesystem::path backup() const {
    std::filesystem::path found;
    for (const auto& item : std::filesystem::directory_iterator(folder / "volume")) {
      if (item.path().filename() != "A.app") found = item.path();
    }
    return found;
  }

  test::TemporaryFolder folder;
  RealFiles run;
  System::Scope scope{run};
  Lines lines;
};

TEST_F(RealInstallation, ReplacesTheBundleAndKeepsTheBackupAndTheUpdate) {
  EXPECT_TRUE(install());
  EXPECT_EQ(test::readFile(folder / "volume/A.app/new"), "new");
  EXPECT_FALSE(std::filesystem::exists(folder / "volume/A.app/old"));
  EXPECT_EQ(test::readFile(backup() / "old"), "old") << "the backup is at the temporary directory's own path";
  EXPECT_EQ(test::readFile(folder / "update/A.app/new"), "new");
}

TEST_F(RealInstallation, AFailedSwapStopsAtItsFirstErrorAndLeavesTheBackup) {
  std::filesystem::remove_all(folder / "update/A.app");
  std::filesystem::create_directory(folder / "update/A.app");
  std::filesystem::create_symlink("x", folder / "update/A.app/a");
  ASSERT_EQ(::mkfifo((folder / "update/A.app/b").c_str(), 0600), 0);
  test::makeSocket(folder / "update/A.app/c");
  test::writeFile(folder / "update/A.app/d", "never reached");
  EXPECT_FALSE(install());
  EXPECT_EQ(lines.back(), "Error: Copy update to target failed. Performing rollback.");
  EXPECT_EQ(test::readFile(backup() / "old"), "old");
  EXPECT_FALSE(std::filesystem::exists(folder / "volume/A.app")) << "the rollback removes the part that was copied";
}

TEST_F(RealInstallation, TheRollbackReadsAnItemOfTheTargetsNameInTheBackup) {
  test::writeFile(folder / "volume/A.app/A.app/inner", "inner");
  std::filesystem::remove_all(folder / "update/A.app");
  std::filesystem::create_directory(folder / "update/A.app");
  test::makeSocket(folder / "update/A.app/c");
  EXPECT_FALSE(install());
  EXPECT_EQ(test::readFile(folder / "volume/A.app/inner"), "inner");
}

}  // namespace
}  // namespace zk
