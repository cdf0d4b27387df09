#include "ZKUpdateOutcome.h"

#include <gtest/gtest.h>

#include "host/ScriptedHost.h"
#include "support/TreeDescription.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kAutoUpdateKey[] = "-com.quillory.tavoro.update.AutoUpdateEnabled";

class UpdateOutcome : public testing::Test {
 protected:
  UpdateOutcome() {
    writeBundle(host.application, entry("CFBundleShortVersionString", "1"));
    writeBundle(host.updates / "X.app", entry("CFBundleShortVersionString", "2"));
    // Something to tell one folder from another by.
    fs::last_write_time(host.application, fs::last_write_time(host.application) - std::chrono::hours(1));
  }

  Ref<ZKUpdateOutcome> outcome(std::vector<const char*> arguments = {}) const {
    arguments.insert(arguments.begin(), "X");
    return ZKUpdateOutcome::outcomeOfUpdate(static_cast<int>(arguments.size()), arguments.data(),
                                            host.updates.string());
  }

  std::string installedInfo() const { return readFile(host.application / "Contents/Info.plist"); }

  ScriptedHost host;
  System::Scope scope{host};
};

TEST_F(UpdateOutcome, FollowsAnUpdateByTheArgumentsOfTheInstaller) {
  EXPECT_TRUE(outcome({kAutoUpdateKey, "NO"})->followsUpdate());
  EXPECT_TRUE(outcome({"file", kAutoUpdateKey, "NO"})->followsUpdate());
  EXPECT_FALSE(outcome()->followsUpdate());
  EXPECT_FALSE(outcome({kAutoUpdateKey})->followsUpdate());
  EXPECT_FALSE(outcome({kAutoUpdateKey, "YES"})->followsUpdate());
  EXPECT_FALSE(outcome({"NO", kAutoUpdateKey})->followsUpdate());
  EXPECT_FALSE(ZKUpdateOutcome::outcomeOfUpdate(0, nullptr, host.updates.string())->followsUpdate());
}

TEST_F(UpdateOutcome, TellsFromWhichVersionAndWhereTheBackupIs) {
  host.startInstaller();
  const fs::path backup = host.backUp();
  host.swap();
  const auto found = outcome();
  EXPECT_TRUE(found->wasInstalled());
  EXPECT_EQ(found->fromVersion(), "1");
  EXPECT_EQ(found->backupPath(), backup);
}

TEST_F(UpdateOutcome, TakesTheVersionThatIsShownToPeople) {
  for (const auto& [info, version] : std::map<std::string, std::string>{
           {entry("CFBundleVersion", "12"), "12"},
           {entry("CFBundleVersion", "12") + entry("CFBundleShortVersionString", "1.2"), "1.2"},
           {"", ""},
       }) {
    writeBundle(host.application, info);
    host.startInstaller();
    const fs::path backup = host.backUp();
    EXPECT_EQ(outcome()->fromVersion(), version);
    fs::remove_all(backup);
  }
}

TEST_F(UpdateOutcome, IsNoInstalledUpdateWithoutAFinishedBackup) {
  EXPECT_FALSE(outcome()->hasBackup()) << "nothing was started";
  host.startInstaller();
  EXPECT_FALSE(outcome()->hasBackup()) << "no backup was made";
  EXPECT_EQ(outcome()->fromVersion(), "");
  EXPECT_EQ(outcome()->backupPath(), "");
  const fs::path backup = host.backUp();
  host.swap();
  EXPECT_TRUE(outcome()->wasInstalled());
  fs::last_write_time(backup, fs::last_write_time(backup) + std::chrono::nanoseconds(1));
  EXPECT_FALSE(outcome()->wasInstalled()) << "it is not finished";
  EXPECT_FALSE(outcome()->hasBackup());
}

TEST_F(UpdateOutcome, IsNoInstalledUpdateBeforeTheNewBundleIsComplete) {
  host.startInstaller();
  const fs::path backup = host.backUp();
  const auto beforeTheSwap = outcome();
  host.swap();
  fs::last_write_time(host.application, fs::last_write_time(host.application) + std::chrono::nanoseconds(1));
  const auto duringTheSwap = outcome();

  for (const auto& found : {beforeTheSwap, duringTheSwap}) {
    EXPECT_FALSE(found->wasInstalled());
    EXPECT_TRUE(found->hasBackup());
    EXPECT_EQ(found->backupPath(), backup);
    EXPECT_FALSE(found->accept());
  }
  EXPECT_TRUE(fs::exists(backup));
  EXPECT_TRUE(fs::exists(host.updates / "X.app"));
  EXPECT_TRUE(duringTheSwap->putBack());
  EXPECT_NE(installedInfo().find("<string>1</string>"), std::string::npos);
}

TEST_F(UpdateOutcome, FindsTheBackupOfABundleWithALongName) {
  host.application = host.application.parent_path() / (std::string(240, 'n') + ".app");
  writeBundle(host.application);
  host.startInstaller();
  const fs::path backup = host.backUp();
  EXPECT_EQ(outcome()->backupPath(), backup);
}

TEST_F(UpdateOutcome, IsNoInstalledUpdateWithoutTheNewBundle) {
  host.startInstaller();
  host.backUp();
  host.swap();
  fs::remove_all(host.updates / "X.app");
  EXPECT_FALSE(outcome()->wasInstalled());
}

TEST_F(UpdateOutcome, PassesOverEarlierBackupsAndWhatOnlyLooksLikeOne) {
  const fs::path earlier = host.backUp("00000000000000aa");
  host.startInstaller();
  for (const char* digits : {"00000000000000AA", "0123456789abcde", "0123456789abcdef0", "0123456789abcdeg"}) {
    host.backUp(digits);
  }
  fs::create_directory_symlink(earlier, host.application.parent_path() / ".X.app-00000000000000ab");
  EXPECT_FALSE(outcome()->hasBackup());
  EXPECT_EQ(outcome()->backupPath(), "");
  const fs::path backup = host.backUp();
  EXPECT_EQ(outcome()->backupPath(), backup);
}

TEST_F(UpdateOutcome, IsNoInstalledUpdateWithoutAReadableNote) {
  host.startInstaller();
  host.backUp();
  host.swap();
  writeFile(host.updates / ".zk-update-note", "{}");
  EXPECT_FALSE(outcome()->wasInstalled());
  const std::string time = "<plist><dict><key>modificationTime</key><integer>1</integer>";
  for (const char* rest : {"</dict></plist>", "<key>backups</key><array><integer>1</integer></array></dict></plist>"}) {
    writeFile(host.updates / ".zk-update-note", time + rest);
    EXPECT_FALSE(outcome()->wasInstalled());
  }
  writeFile(host.updates / ".zk-update-note", "");
  EXPECT_FALSE(outcome()->wasInstalled());
  EXPECT_FALSE(ZKUpdateOutcome::outcomeOfUpdate(0, nullptr, "")->wasInstalled());
}

TEST_F(UpdateOutcome, IsAcceptedByRemovingTheBackupAndTheUpdateFolder) {
  const fs::path earlier = host.backUp("00000000000000aa");
  host.startInstaller();
  const fs::path backup = host.backUp();
  host.swap();
  const auto accepted = outcome();
  EXPECT_TRUE(accepted->accept());
  EXPECT_FALSE(fs::exists(backup));
  EXPECT_FALSE(fs::exists(host.updates));
  EXPECT_TRUE(fs::exists(earlier)) << "what was there before stays";
  EXPECT_NE(installedInfo().find("<string>2</string>"), std::string::npos);
  EXPECT_FALSE(accepted->wasInstalled());
  EXPECT_FALSE(accepted->putBack());
}

TEST_F(UpdateOutcome, IsAcceptedWithoutABackupToo) {
  host.startInstaller();
  EXPECT_TRUE(outcome()->accept());
  EXPECT_FALSE(fs::exists(host.updates));
}

TEST_F(UpdateOutcome, IsNotAcceptedAndKeepsItsNoteWhileTheBackupCannotBeRemoved) {
  host.startInstaller();
  host.backUp();
  host.swap();
  fs::permissions(host.folder.path(), fs::perms(0755));
  fs::permissions(host.updates, fs::perms(0777));
  EXPECT_EQ(statusWithoutAccessTo(host.application.parent_path(),
                                  [this] {
                                    const auto found = outcome();
                                    EXPECT_FALSE(found->accept());
                                    EXPECT_TRUE(found->wasInstalled());
                                  }),
            0);
  EXPECT_TRUE(outcome()->wasInstalled());
}

TEST_F(UpdateOutcome, IsNotAcceptedWhileTheUpdateFolderCannotBeRemoved) {
  host.startInstaller();
  EXPECT_EQ(statusWithoutAccessTo(host.folder.path(), [this] { EXPECT_FALSE(outcome()->accept()); }), 0);
  EXPECT_TRUE(fs::exists(host.updates));
}

TEST_F(UpdateOutcome, AcceptsNoFolderThatNoInstallerWasStartedWith) {
  EXPECT_FALSE(outcome()->accept());
  EXPECT_FALSE(ZKUpdateOutcome::outcomeOfUpdate(0, nullptr, "")->accept());
  EXPECT_TRUE(fs::exists(host.updates / "X.app"));
}

TEST_F(UpdateOutcome, PutsTheOldBundleBack) {
  host.startInstaller();
  const auto old = describeTree(host.backUp());
  host.swap();
  writeFile(host.application / "Contents/Resources/made by version 2", "");

  const auto found = outcome();
  EXPECT_TRUE(found->putBack());
  EXPECT_EQ(describeTree(host.application), old);
  EXPECT_EQ(std::distance(fs::directory_iterator(host.application.parent_path()), fs::directory_iterator()), 1);
  EXPECT_TRUE(fs::exists(host.updates / "X.app"));
  EXPECT_FALSE(found->wasInstalled());
  EXPECT_FALSE(found->putBack());
  EXPECT_FALSE(outcome()->wasInstalled());
}

TEST_F(UpdateOutcome, LeavesTheNewBundleInPlaceWhenTheOldOneCannotBePutBack) {
  host.startInstaller();
  const fs::path backup = host.backUp();
  host.swap();
  const auto found = outcome();
  fs::remove_all(backup);
  EXPECT_FALSE(found->putBack());
  EXPECT_NE(installedInfo().find("<string>2</string>"), std::string::npos);
  EXPECT_EQ(std::distance(fs::directory_iterator(host.application.parent_path()), fs::directory_iterator()), 1);
}

TEST_F(UpdateOutcome, LeavesBothBundlesWhereTheyAreWhenTheyCannotBeMoved) {
  host.startInstaller();
  const fs::path backup = host.backUp();
  host.swap();
  fs::permissions(host.folder.path(), fs::perms(0755));
  EXPECT_EQ(statusWithoutAccessTo(host.application.parent_path(), [this] { EXPECT_FALSE(outcome()->putBack()); }), 0);
  EXPECT_NE(installedInfo().find("<string>2</string>"), std::string::npos);
  EXPECT_TRUE(fs::exists(backup));
}

TEST_F(UpdateOutcome, PutsNothingIntoThePlaceOfAnApplicationThatIsGone) {
  host.startInstaller();
  const fs::path backup = host.backUp();
  const auto found = outcome();
  fs::remove_all(host.application);
  EXPECT_FALSE(found->putBack());
  EXPECT_EQ(fs::directory_iterator(host.application.parent_path())->path(), backup);
  EXPECT_EQ(std::distance(fs::directory_iterator(host.application.parent_path()), fs::directory_iterator()), 1);
}

TEST_F(UpdateOutcome, PutsNothingBackWhenNothingWasInstalled) {
  const auto before = describeTree(host.folder.path());
  EXPECT_FALSE(outcome()->putBack());
  EXPECT_EQ(describeTree(host.folder.path()), before);
}

}  // namespace

}  // namespace zk::test
