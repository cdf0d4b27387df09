#include "ZKUpdateStart.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include "Application.h"
#include "host/ScriptedHost.h"
#include "support/System.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;
using State = ZKUpdateStart::State;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

constexpr char kInstaller[] = "/opt/zkupdater";

class UpdateStart : public testing::Test {
 protected:
  UpdateStart() { writeBundle(host.updates / "X.app"); }

  Ref<ZKUpdateStart> begin(const ZKUpdateOptions& options = {}) {
    return ZKUpdateStart::beginInstaller(kInstaller, host.updates.string(), options);
  }

  /// An update that is refused: no installer is started, nothing is left behind.
  void expectRefused(State state, const ZKUpdateOptions& options = {}) {
    const auto start = begin(options);
    EXPECT_EQ(start->state(), state);
    EXPECT_TRUE(start->isRefused());
    EXPECT_FALSE(start->isReady());
    EXPECT_EQ(start->poll(), state);
    EXPECT_TRUE(host.launched.empty());
    EXPECT_TRUE(host.semaphoreNames.empty());
    std::error_code noFolder;
    EXPECT_FALSE(fs::is_regular_file(host.updates / ".zk-update-note", noFolder));
  }

  /// The count of the latest semaphore, through a look from outside; -1 once its name is gone.
  int count() const { return semaphoreCount(host.semaphoreNames.back().c_str()); }

  /// What an installer does that is ready.
  void takeSemaphore() const {
    sem_t* const semaphore = ::sem_open(host.semaphoreNames.back().c_str(), 0);
    ASSERT_NE(semaphore, SEM_FAILED);
    EXPECT_EQ(::sem_trywait(semaphore), 0);
    ::sem_close(semaphore);
  }

  bool isNoteThere() const { return fs::exists(host.updates / ".zk-update-note"); }

  void giveVersions(const std::string& installed, const std::string& offered) {
    writeBundle(host.application, installed);
    writeBundle(host.updates / "X.app", offered);
  }

  ScriptedHost host;
  System::Scope scope{host};
};

// What is refused.

TEST_F(UpdateStart, IsRefusedToAProcessThatRunsFromNoBundle) {
  fs::remove_all(host.application);
  expectRefused(State::noApplication);
}

TEST_F(UpdateStart, IsRefusedToABundleWithoutAnIdentifier) {
  fs::remove(host.application / "Contents/Info.plist");
  expectRefused(State::noApplication);
}

TEST_F(UpdateStart, IsRefusedFromAFolderThatIsOrHoldsOrLiesInTheBundle) {
  for (const fs::path& updates : {host.application, host.application.parent_path(), host.folder.path(), fs::path("/"),
                                  host.application / "Contents/Updates", host.application / "Contents/.."}) {
    host.updates = updates;
    expectRefused(State::folderInTheWay);
  }
}

TEST_F(UpdateStart, IsRefusedFromALinkIntoTheBundle) {
  host.updates = host.folder / "link";
  fs::create_directory_symlink(host.application / "Contents", host.updates);
  expectRefused(State::folderInTheWay);
}

TEST_F(UpdateStart, IsRefusedForALinkBackToTheBundle) {
  fs::remove_all(host.updates / "X.app");
  fs::create_directory_symlink(host.application, host.updates / "X.app");
  expectRefused(State::folderInTheWay);
}

TEST_F(UpdateStart, IsRefusedFromAFolderThatCannotBeFound) {
  fs::create_symlink("loop", host.folder / "loop");
  for (const fs::path& updates : {host.folder / "loop", host.folder / std::string(300, 'n')}) {
    host.updates = updates;
    expectRefused(State::noUpdate);
  }
}

TEST_F(UpdateStart, IsNotRefusedFromAFolderBesideTheBundle) {
  host.updates = host.application.string() + " update";
  writeBundle(host.updates / "X.app");
  EXPECT_EQ(begin()->state(), State::waiting);
}

TEST_F(UpdateStart, IsRefusedWithoutABundleOfTheSameIdentifier) {
  fs::rename(host.updates / "X.app", host.updates / "Y.app");
  EXPECT_EQ(begin()->state(), State::waiting) << "it may have another name";
  host.launched.clear();
  host.semaphoreNames.clear();

  writeBundle(host.updates / "X.app", "", "com.example.other");
  expectRefused(State::noUpdate);  // the installer would take the one with the right name
  fs::remove_all(host.updates / "X.app");
  fs::remove_all(host.updates / "Y.app");
  expectRefused(State::noUpdate);
  fs::remove_all(host.updates);
  expectRefused(State::noUpdate);
  host.updates = "";
  expectRefused(State::noUpdate);
}

TEST_F(UpdateStart, IsRefusedWithoutAProgramThatCanBeExecuted) {
  const fs::path program = host.updates / "X.app/Contents/MacOS/X";
  fs::permissions(program, fs::perms::owner_read);
  expectRefused(State::noProgram);
  fs::remove(program);
  expectRefused(State::noProgram);
  fs::create_directory(program);
  expectRefused(State::noProgram);
  writeBundle(host.updates / "X.app", entry("CFBundleExecutable", "../../../X"));
  expectRefused(State::noProgram);
}

TEST_F(UpdateStart, IsRefusedWithAVersionThatIsNotNewer) {
  const std::vector<std::pair<std::string, std::string>> versions = {
      {"1.2.3.4", "1.2.3 (4)"},
      {"1.2.3.4", "1.2.3.4"},
      {"1.2.3.4", "1.2.3.3"},
      {"1.2.3.4", "0.9 (9)"},
      {"1.2.3 (4)", "1.2.3.3"},
      {"1.2.3.4", "1.2.3"},
      {"1.2", "1.2.0"},
      {"0", "0.0"},
      {"1.10", "1.9.9"},
      {"2026.1.0.0", "2025.1.0.0"},
      {"2", "1"},
      {"2 beta", "2 beta"},
  };
  for (const char* key : {"CFBundleShortVersionString", "CFBundleVersion"}) {
    for (const auto& [installed, offered] : versions) {
      SCOPED_TRACE(::testing::Message() << installed << " " << offered);
      giveVersions(entry(key, installed), entry(key, offered));
      expectRefused(State::notNewer);
    }
  }
  giveVersions(entry("CFBundleShortVersionString", "2") + entry("CFBundleVersion", "1"),
               entry("CFBundleShortVersionString", "1") + entry("CFBundleVersion", "2"));
  expectRefused(State::notNewer);
}

TEST_F(UpdateStart, IsNotRefusedWithANewerVersionOrWhereVersionsCannotBeCompared) {
  const std::string shortKey = "CFBundleShortVersionString";
  const std::string key = "CFBundleVersion";
  const std::vector<std::pair<std::string, std::string>> versions = {
      {entry(key, "1.2.3.4"), entry(key, "1.2.3.5")},
      {entry(key, "1.2.3.4"), entry(key, "1.2.3 (5)")},
      {entry(key, "1.2.3"), entry(key, "1.10")},
      {entry(key, "2025.1.0.0"), entry(key, "2026.1.0.0")},
      {entry(key, "2"), entry(key, "1 beta")},
      {entry(key, "2"), entry(key, "1.")},
      {entry(key, "2"), entry(key, ".1")},
      {entry(key, "2"), entry(key, "-1")},
      {entry(key, ""), entry(key, "")},
      {entry(key, "1.2.3.4"), ""},
      {entry(key, "1.2.3.4"), entry(shortKey, "1.2.3.4")},
      {entry(shortKey, "1.2") + entry(key, "1.2.3.4"), entry(shortKey, "1.2") + entry(key, "1.2.3.5")},
  };
  for (const auto& [installed, offered] : versions) {
    giveVersions(installed, offered);
    EXPECT_EQ(begin()->state(), State::waiting) << installed << " " << offered;
  }
}

TEST_F(UpdateStart, TakesAnOlderVersionWhenThatIsWanted) {
  giveVersions(entry("CFBundleVersion", "1.2.3.4"), entry("CFBundleVersion", "1.2.3.3"));
  ZKUpdateOptions options;
  options.mayBeOlder = true;
  EXPECT_EQ(begin(options)->state(), State::waiting);
}

TEST_F(UpdateStart, IsRefusedFromAFolderThatCannotBeWrittenTo) {
  fs::create_directory(host.updates / ".zk-update-note");
  expectRefused(State::folderNotWritable);
}

TEST_F(UpdateStart, IsRefusedWhereNoBackupCanBeMade) {
  fs::permissions(host.folder.path(), fs::perms(0755));
  fs::permissions(host.updates, fs::perms(0777));
  EXPECT_EQ(statusWithoutAccessTo(host.application.parent_path(), [this] { expectRefused(State::placeNotWritable); }),
            0);
}

// How the installer is started.

TEST_F(UpdateStart, GivesTheInstallerAllItsSettings) {
  const auto start = begin();
  ASSERT_EQ(host.launched.size(), 1U);
  EXPECT_THAT(host.launched[0],
              ElementsAre(kInstaller, "-pid", std::to_string(::getpid()), "-updatePath", host.updates.string(),
                          "-installerSemaphore", host.semaphoreNames.back(), "-updateSemaphore",
                          ::testing::MatchesRegex("zk-update-[0-9a-f]{16}"), "-enableLog", "YES"));
  EXPECT_EQ(host.semaphoreNames.size(), 1U) << "the lock is the installer's to make";
}

TEST_F(UpdateStart, UsesSemaphoreNamesThatEverySystemTakes) {
  constexpr std::size_t kLongest = 30;
  begin();
  ASSERT_EQ(host.launched.size(), 1U);
  for (const std::size_t setting : {6U, 8U}) {
    const std::string& name = host.launched[0].at(setting);
    EXPECT_THAT(name, ::testing::MatchesRegex("[^/]+"));
    EXPECT_LE(name.size(), kLongest) << name;
  }
}

TEST_F(UpdateStart, GivesTheInstallerWholePaths) {
  const fs::path before = fs::current_path();
  fs::current_path(host.folder.path());
  const auto start = ZKUpdateStart::beginInstaller("zkupdater", "Updates");
  fs::current_path(before);
  ASSERT_EQ(host.launched.size(), 1U);
  EXPECT_EQ(host.launched[0][0], host.folder / "zkupdater");
  EXPECT_EQ(host.launched[0][4], host.updates);
}

TEST_F(UpdateStart, SharesTheLockAmongAllStartsOfOneApplicationAndNoOther) {
  begin();
  begin();
  fs::rename(host.application, host.folder / "Applications/Y.app");
  host.application = host.folder / "Applications/Y.app";
  begin();
  ASSERT_EQ(host.launched.size(), 3U);
  const auto lock = [this](std::size_t start) { return host.launched[start][8]; };
  EXPECT_EQ(lock(0), lock(1));
  EXPECT_NE(lock(0), lock(2));
}

TEST_F(UpdateStart, NamesTheLockByAHashThatNoReleaseMayChange) {
  EXPECT_EQ(updateSemaphoreNameFor(NSURL::fileURLWithPath("/opt/Example.app"_ns)), "zk-update-e4cc515dd2f83ee3");
}

TEST_F(UpdateStart, MakesAPrivateSemaphoreOfANewNameEachTime) {
  const auto first = begin();
  const auto second = begin();
  ASSERT_EQ(host.semaphoreNames.size(), 2U);
  EXPECT_NE(host.semaphoreNames[0], host.semaphoreNames[1]);
  EXPECT_THAT(host.openFlags, ElementsAre(ZKO_CREAT | ZKO_EXCL, ZKO_CREAT | ZKO_EXCL));
  for (const std::string& name : host.semaphoreNames) {
    EXPECT_LE(name.size(), 31U);
    EXPECT_EQ(semaphoreMode(name.c_str()).value_or(0600), 0600U) << "unless the system does not tell";
  }
}

TEST_F(UpdateStart, PassesOverANameThatIsTaken) {
  host.onOpen = [this](const char* name) -> SemaphoreHandle {
    if (host.semaphoreNames.size() == 1) {
      errno = EEXIST;
      return ZKSEM_FAILED;
    }
    return ::sem_open(name, O_CREAT | O_EXCL, 0600, 1);
  };
  const auto start = begin();
  EXPECT_EQ(start->state(), State::waiting);
  ASSERT_EQ(host.semaphoreNames.size(), 2U);
  EXPECT_NE(host.semaphoreNames[0], host.semaphoreNames[1]);
  EXPECT_EQ(host.launched[0][6], host.semaphoreNames[1]);
}

TEST_F(UpdateStart, FailsWhereNoSemaphoreCanBeMade) {
  for (const int error : {EMFILE, EEXIST}) {
    host.onOpen = [error](const char*) {
      errno = error;
      return ZKSEM_FAILED;
    };
    const auto start = begin();
    EXPECT_EQ(start->state(), State::notStarted);
    EXPECT_FALSE(start->isRefused());
    EXPECT_TRUE(host.launched.empty());
    EXPECT_FALSE(isNoteThere());
  }
}

TEST_F(UpdateStart, FailsWhereTheInstallerCannotBeExecuted) {
  host.canLaunch = false;
  const auto start = begin();
  EXPECT_EQ(start->state(), State::notStarted);
  EXPECT_EQ(start->exitStatus(), -1);
  EXPECT_EQ(count(), -1);
  EXPECT_FALSE(isNoteThere());

  host.launched.clear();
  EXPECT_EQ(ZKUpdateStart::beginInstaller("", host.updates.string())->state(), State::notStarted);
  EXPECT_TRUE(host.launched.empty());
}

// What becomes of it.

TEST_F(UpdateStart, IsReadyOnceTheInstallerHasTakenTheSemaphore) {
  auto start = begin();
  for (int look = 0; look < 3; ++look) {
    EXPECT_EQ(start->poll(), State::waiting);
    EXPECT_EQ(count(), 1) << "and free for the installer";
  }
  takeSemaphore();
  EXPECT_EQ(start->poll(), State::ready);
  EXPECT_TRUE(start->isReady());
  EXPECT_FALSE(start->isRefused());
  EXPECT_TRUE(host.sleeps.empty()) << "nothing blocks";
  EXPECT_EQ(count(), -1) << "the name is removed";
  EXPECT_TRUE(isNoteThere());
  start = nullptr;
  EXPECT_FALSE(host.installer.isKilled);
}

TEST_F(UpdateStart, FailsWhenTheInstallerEnds) {
  const auto start = begin();
  host.installer = {false, 1, "a Begin\nb [ZKUpdater (0x1)] Error: Why.\nc [ZKUpdater (0x1)] Error: So.\nd End\n"};
  EXPECT_EQ(start->poll(), State::ended);
  EXPECT_EQ(start->exitStatus(), 1);
  EXPECT_EQ(start->logLine(), "b [ZKUpdater (0x1)] Error: Why.");
  EXPECT_EQ(count(), -1);
  EXPECT_FALSE(isNoteThere());
  EXPECT_FALSE(host.installer.isKilled);
}

TEST_F(UpdateStart, FailsAlsoWhenTheInstallerEndsWithTheSemaphoreTaken) {
  const auto start = begin();
  takeSemaphore();
  host.installer = {false, 137, ""};
  EXPECT_EQ(start->poll(), State::ended);
  EXPECT_EQ(start->exitStatus(), 137);
  EXPECT_EQ(start->logLine(), "");
}

TEST_F(UpdateStart, TellsTheLastLineOfALogWithoutAnError) {
  for (const char* log : {"one\ntwo\n", "one\ntwo", "two\n\n\n"}) {
    const auto start = begin();
    host.installer = {false, 1, log};
    EXPECT_EQ(start->poll(), State::ended);
    EXPECT_EQ(start->logLine(), "two") << log;
    host.installer = {};
  }
}

TEST_F(UpdateStart, EndsAnInstallerThatIsLate) {
  host.installer.output = "still here\n";
  ZKUpdateOptions options;
  options.timeLimit = milliseconds(0);
  const auto start = begin(options);
  EXPECT_EQ(start->state(), State::waiting);
  EXPECT_EQ(start->poll(), State::late);
  EXPECT_TRUE(host.installer.isKilled);
  EXPECT_EQ(start->exitStatus(), -1);
  EXPECT_EQ(start->logLine(), "still here");
  EXPECT_EQ(count(), -1);
  EXPECT_FALSE(isNoteThere());
}

TEST_F(UpdateStart, TakesAnyTimeLimit) {
  ZKUpdateOptions options;
  options.timeLimit = milliseconds::max();
  EXPECT_EQ(begin(options)->poll(), State::waiting);
  host.installer = {};
  options.timeLimit = milliseconds::min();
  EXPECT_EQ(begin(options)->poll(), State::late);
}

TEST_F(UpdateStart, IsReadyEvenAtTheLastMoment) {
  ZKUpdateOptions options;
  options.timeLimit = milliseconds(0);
  const auto start = begin(options);
  takeSemaphore();
  EXPECT_EQ(start->poll(), State::ready);
}

TEST_F(UpdateStart, EndsAnInstallerThatNobodyWaitsForAnyMore) {
  begin();
  EXPECT_TRUE(host.installer.isKilled);
  EXPECT_EQ(count(), -1);
  EXPECT_FALSE(isNoteThere());
}

TEST_F(UpdateStart, WaitsInOneCall) {
  host.onSleep = [this] {
    EXPECT_EQ(count(), 1);
    if (host.sleeps.size() == 3) takeSemaphore();
  };
  EXPECT_TRUE(ZKUpdateStart::startInstaller(kInstaller, host.updates.string())->isReady());
  EXPECT_EQ(host.sleeps.size(), 3U);
}

TEST_F(UpdateStart, WaitsInOneCallNoLongerThanTheTimeLimit) {
  ZKUpdateOptions options;
  options.timeLimit = milliseconds(1);
  EXPECT_EQ(ZKUpdateStart::startInstaller(kInstaller, host.updates.string(), options)->state(), State::late);
}

TEST_F(UpdateStart, HasAReasonForEachState) {
  std::set<std::string> reasons;
  for (int state = 0; state <= static_cast<int>(State::late); ++state) {
    reasons.insert(ZKUpdateStart::reasonFor(static_cast<State>(state)));
  }
  EXPECT_EQ(reasons.size(), 12U);
  EXPECT_EQ(reasons.count(""), 0U);
  EXPECT_STREQ(begin()->reason(), "The installer is not ready yet.");
}

}  // namespace

}  // namespace zk::test
