#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>

#include "ZKUpdater.h"
#include "support/TemporaryFolder.h"
#include "updater/BareUpdater.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

using Lines = std::vector<std::string>;

class Handshake : public testing::Test {
 protected:
  Handshake() {
    run.settings[4] = folder.path().string();
    updater = ZKUpdater::init();
    run.rawLog.clear();
    run.checks = 0;
  }
  void nameNoSemaphore() { run.settings.erase(run.settings.begin() + 5, run.settings.begin() + 9); }
  std::filesystem::path record() const { return folder / ".update.semaphore"; }

  test::TemporaryFolder folder;
  test::ScriptedRun run;
  System::Scope scope{run};
  Ref<ZKUpdater> updater;
};

TEST_F(Handshake, WithoutNamedSemaphoresSucceedsAndMakesNone) {
  nameNoSemaphore();
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_TRUE(updater->waitForUpdateLock());
  updater->releaseSemaphores();
  EXPECT_TRUE(run.events.empty());
  EXPECT_TRUE(run.rawLog.empty());
}

TEST_F(Handshake, TreatsAnEmptyNameAsNone) {
  run.settings[6] = "";
  run.settings[8] = "";
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_TRUE(updater->waitForUpdateLock());
  EXPECT_TRUE(run.events.empty());
}

TEST_F(Handshake, NotifyingTakesTheInstallerSemaphoreAndHoldsIt) {
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_EQ(run.events, (Lines{"open installer", "wait installer"}));
}

TEST_F(Handshake, NotifyingFailsWhenTheSemaphoreCannotBeMade) {
  run.failing = {{"open installer", EACCES}};
  EXPECT_FALSE(updater->notifyReady());
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to create installer semaphore."}));
}

TEST_F(Handshake, ASemaphoreThatWasOpenedButNotTakenIsNeverPosted) {
  run.failing = {{"wait installer", EINTR}, {"try update", EINVAL}};
  EXPECT_FALSE(updater->notifyReady());
  EXPECT_FALSE(updater->waitForUpdateLock());
  updater->releaseSemaphores();
  updater = nullptr;
  EXPECT_EQ(run.events, (Lines{"open installer", "wait installer", "close installer", "open update", "try update",
                               "close update"}));
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to acquire installer semaphore.",
                                   "Error: Failed to acquire update semaphore.", "End installation"}));
}

TEST_F(Handshake, NotifyingAgainFirstGivesTheSemaphoreBack) {
  EXPECT_TRUE(updater->notifyReady());
  run.events.clear();
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_EQ(run.events, (Lines{"post installer", "close installer", "open installer", "wait installer"}));
}

TEST_F(Handshake, ARepetitionThatFindsNoNameKeepsWhatIsHeld) {
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_TRUE(updater->waitForUpdateLock());
  test::writeFile(record(), "of this process");
  run.events.clear();
  for (const auto& withoutNames : {std::function([this] { run.settings[6] = run.settings[8] = ""; }),
                                   std::function([this] { nameNoSemaphore(); })}) {
    withoutNames();
    EXPECT_TRUE(updater->notifyReady());
    EXPECT_TRUE(updater->waitForUpdateLock());
    EXPECT_TRUE(run.events.empty());
    EXPECT_TRUE(std::filesystem::exists(record()));
  }
  updater->releaseSemaphores();
  EXPECT_EQ(run.events, (Lines{"post update", "close update", "post installer", "close installer"}));
}

TEST_F(Handshake, AFailedRepetitionLeavesNothingHeld) {
  EXPECT_TRUE(updater->notifyReady());
  run.failing = {{"open installer", EACCES}};
  EXPECT_FALSE(updater->notifyReady());
  run.events.clear();
  updater->releaseSemaphores();
  EXPECT_TRUE(run.events.empty());
}

TEST_F(Handshake, TheUpdateLockFailsWhenTheSemaphoreCannotBeMade) {
  run.failing = {{"open update", ENOSPC}};
  EXPECT_FALSE(updater->waitForUpdateLock());
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to create update semaphore."}));
}

TEST_F(Handshake, TheUpdateLockGivesUpOnALivingHolderAfterAThousandPauses) {
  // The record is the target's, which exists throughout.
  test::writeFile(record(), "<plist><dict><key>pid</key><integer>4711</integer></dict></plist>");
  run.existence = [](int) { return noErr; };
  run.failing = {{"try update", EAGAIN}};
  EXPECT_FALSE(updater->waitForUpdateLock());
  EXPECT_EQ(run.sleeps, std::vector<double>(1000, 0.1));
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to acquire update semaphore."}));
}

TEST_F(Handshake, TakingTheUpdateLockAgainFirstGivesItBackWithItsRecord) {
  EXPECT_TRUE(updater->waitForUpdateLock());
  test::writeFile(record(), "left by somebody");
  run.events.clear();
  EXPECT_TRUE(updater->waitForUpdateLock());
  EXPECT_EQ(run.events, (Lines{"post update", "close update", "open update", "try update"}));
  EXPECT_FALSE(std::filesystem::exists(record()));
}

TEST_F(Handshake, ReleasesTheUpdateLockFirstAndItsRecordBeforeThat) {
  class RecordSystem : public test::ScriptedRun {
   public:
    int sem_post(SemaphoreHandle semaphore) override {
      events.emplace_back(std::filesystem::exists(record) ? "record there" : "record gone");
      return ScriptedRun::sem_post(semaphore);
    }
    std::filesystem::path record;
  } system;
  system.settings = run.settings;
  system.record = record();
  const System::Scope inner(system);
  EXPECT_TRUE(updater->notifyReady());
  EXPECT_TRUE(updater->waitForUpdateLock());
  test::writeFile(record(), "of this process");
  system.events.clear();
  updater->releaseSemaphores();
  EXPECT_EQ(system.events,
            (Lines{"record gone", "post update", "close update", "record gone", "post installer", "close installer"}));
  system.events.clear();
  updater->releaseSemaphores();
  EXPECT_TRUE(system.events.empty()) << "a second release does nothing";
}

TEST_F(Handshake, OnlyTheUpdateLockIsReleasedIfOnlyThatIsHeld) {
  EXPECT_TRUE(updater->waitForUpdateLock());
  run.events.clear();
  updater->releaseSemaphores();
  EXPECT_EQ(run.events, (Lines{"post update", "close update"}));
}

TEST_F(Handshake, DestructionReleasesWhatIsHeldThenClearsTheFieldsThenLogsTheEnd) {
  class WatchingSystem : public test::ScriptedRun {
   public:
    void log(const std::string& message) override {
      for (const auto& [name, object] : watched) events.push_back(name + (object.expired() ? " gone" : " there"));
      events.push_back(withoutPrefix(message));
    }
    int sem_post(SemaphoreHandle semaphore) override {
      EXPECT_FALSE(watched.front().second.expired()) << "while the semaphores are released";
      return ScriptedRun::sem_post(semaphore);
    }
    std::vector<std::pair<std::string, std::weak_ptr<NSObject>>> watched;
  } system;
  system.settings = run.settings;
  const System::Scope inner(system);
  auto bare = std::make_unique<test::BareUpdater>();
  bare->targetBundleURL = NSURL::fileURLWithPath("/volume/A.app"_ns);
  bare->targetBundleId = NSString::stringWithUTF8String("com.example.a");
  bare->updateDirectory = folder.url();
  bare->isLogEnabled = true;
  system.watched = {
      {"bundle", bare->targetBundleURL}, {"identifier", bare->targetBundleId}, {"updates", bare->updateDirectory}};
  EXPECT_TRUE(bare->notifyReady());
  EXPECT_TRUE(bare->waitForUpdateLock());
  system.events.clear();
  bare = nullptr;
  EXPECT_EQ(system.events, (Lines{"post update", "close update", "post installer", "close installer", "bundle gone",
                                  "identifier gone", "updates gone", "End installation"}));
}

TEST_F(Handshake, WhetherToLogIsDecidedAtCreationForTheWholeRun) {
  run.settings.back() = "NO";
  run.failing = {{"open installer", EACCES}};
  EXPECT_FALSE(updater->notifyReady());
  updater = nullptr;
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to create installer semaphore.", "End installation"}));
}

TEST_F(Handshake, TheExitOfATargetThatIsGoneIsSeenWithoutASleep) {
  run.existence = [](int) { return procNotFound; };
  EXPECT_TRUE(updater->waitForTargetExit());
  EXPECT_EQ(run.checks, 1);
  EXPECT_TRUE(run.sleeps.empty());
  EXPECT_TRUE(run.rawLog.empty());
  EXPECT_EQ(run.checkedPids.back(), 4711);
}

TEST_F(Handshake, TheExitIsPolledEveryTenthOfASecond) {
  run.existence = [](int check) { return check < 3 ? noErr : procNotFound; };
  EXPECT_TRUE(updater->waitForTargetExit());
  EXPECT_EQ(run.checks, 4);
  EXPECT_EQ(run.sleeps, std::vector<double>(3, 0.1));
}

TEST_F(Handshake, TheExitAtTheLastCheckIsStillSeen) {
  run.existence = [](int check) { return check < 999 ? noErr : procNotFound; };
  EXPECT_TRUE(updater->waitForTargetExit());
  EXPECT_EQ(run.sleeps.size(), 999U);
}

TEST_F(Handshake, TheExitWaitExpiresAfterAThousandChecksAndASleepAfterTheLast) {
  run.existence = [](int) { return noErr; };
  EXPECT_FALSE(updater->waitForTargetExit());
  EXPECT_EQ(run.checks, 1000);
  EXPECT_EQ(run.sleeps, std::vector<double>(1000, 0.1));
  EXPECT_EQ(run.logLines(), (Lines{"Error: Target process exit wait expired."}));
}

TEST_F(Handshake, TheExitWaitExpiresWhenAnotherProcessHasTakenTheIdOver) {
  // Only that the id names a process is looked at, not which one: not before the first check, nor between two checks.
  for (const int takenOverAt : {0, 500}) {
    run.rawLog.clear();
    run.sleeps.clear();
    run.checks = 0;
    run.existence = [this, takenOverAt](int check) {
      if (check == takenOverAt) {
        ++run.launchStamp;
        run.information = NSDictionary::dictionaryWithEntries({{ZKBundlePathKey, "/volume/Other.app"_ns}});
      }
      return noErr;
    };
    EXPECT_FALSE(updater->waitForTargetExit());
    EXPECT_EQ(run.checks, 1000);
    EXPECT_EQ(run.sleeps.size(), 1000U);
    EXPECT_EQ(run.logLines(), (Lines{"Error: Target process exit wait expired."}));
  }
}

TEST_F(Handshake, AFailedCheckEndsTheExitWaitWithoutASleep) {
  run.existence = [](int check) { return check < 2 ? noErr : -50; };
  EXPECT_FALSE(updater->waitForTargetExit());
  EXPECT_EQ(run.sleeps.size(), 2U);
  EXPECT_EQ(run.logLines(), (Lines{"Error: Failed to watch target process exit."}));
}

}  // namespace
}  // namespace zk
