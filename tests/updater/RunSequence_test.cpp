#include "RunSequence.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>

#include "support/TemporaryFolder.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

using Lines = std::vector<std::string>;

/// A run on a real folder with bundles. Everything else is scripted.
class RunSequence : public testing::Test {
 protected:
  RunSequence() {
    test::writeFile(folder / "volume/A.app/Contents/Info.plist",
                    "{CFBundleIdentifier = \"com.example.a\"; CFBundleExecutable = run;}");
    std::filesystem::create_directories(folder / "update/A.app");
    setTarget((folder / "volume/A.app").string());
    setUpdatePath((folder / "update").string());
  }
  void setTarget(const std::string& path) {
    run.information = NSDictionary::dictionaryWithEntries(
        {{ZKBundlePathKey, NSString::stringWithBytes(path)}, {kCFBundleIdentifierKey, "com.example.a"_ns}});
  }
  void setUpdatePath(const std::string& path) { run.settings[4] = path; }

  bool wasLaunched() const { return !run.launched.empty(); }
  std::string target() const { return (folder / "volume/A.app").string(); }
  std::string update() const { return (folder / "update/A.app").string(); }

  test::TemporaryFolder folder;
  test::ScriptedRun run;
  System::Scope scope{run};
};

TEST_F(RunSequence, InstallsAndRelaunches) {
  EXPECT_EQ(runInstaller(), 0);
  EXPECT_EQ(run.logLines(), (Lines{"Begin installation", "End installation"}));
  EXPECT_EQ(run.events, (Lines{"open installer", "wait installer", "open update", "try update",
                               "temporary 99 1 " + target() + " create", "copy " + target() + " to /volume/.temporary",
                               "copy " + update() + " to " + target(), "post update", "post installer", "launch",
                               "close installer", "close update"}));
  EXPECT_EQ(run.launched,
            (Lines{target() + "/Contents/MacOS/run", "-com.quillory.tavoro.update.AutoUpdateEnabled", "NO"}));
}

TEST_F(RunSequence, WithoutSettingsLogsNothingAndLaunchesNothing) {
  run.settings = {"zkupdater"};
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_TRUE(run.rawLog.empty());
  EXPECT_TRUE(run.events.empty());
}

TEST_F(RunSequence, WithoutAPidLogsFourLinesAndLaunchesNothing) {
  run.settings = {"zkupdater", "-enableLog", "YES"};
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_EQ(run.logLines(), (Lines{"Begin installation", "Error: Target PID not specified.",
                                   "Error: Initialization failed.", "End installation"}));
  EXPECT_TRUE(run.events.empty());
}

TEST_F(RunSequence, LogsNothingWhenLoggingIsOff) {
  run.settings.back() = "NO";
  run.fileManager->failingCopy = 2;
  run.launchSucceeds = false;
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_TRUE(run.rawLog.empty());
}

TEST_F(RunSequence, AFailedReadinessSkipsTheOtherStepsButReleasesAndRelaunches) {
  run.failing = {{"wait installer", EINTR}};
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_EQ(run.events, (Lines{"open installer", "wait installer", "launch", "close installer"}));
  EXPECT_EQ(run.checks, 1) << "the exit wait did not run";
  EXPECT_EQ(run.logLines(),
            (Lines{"Begin installation", "Error: Failed to acquire installer semaphore.", "End installation"}));
  EXPECT_EQ(run.launched,
            (Lines{target() + "/Contents/MacOS/run", "-com.quillory.tavoro.update.AutoUpdateEnabled", "NO"}));
}

TEST_F(RunSequence, AFailedUpdateLockReleasesTheInstallerSemaphoreAndRelaunches) {
  run.failing = {{"open update", EACCES}};
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_EQ(run.events,
            (Lines{"open installer", "wait installer", "open update", "post installer", "launch", "close installer"}));
  EXPECT_EQ(run.checks, 1);
}

TEST_F(RunSequence, AFailedExitWaitReleasesBothAndRelaunches) {
  run.existence = [](int check) { return check == 0 ? noErr : -50; };
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_EQ(run.events, (Lines{"open installer", "wait installer", "open update", "try update", "post update",
                               "post installer", "launch", "close installer", "close update"}));
  EXPECT_EQ(run.logLines(),
            (Lines{"Begin installation", "Error: Failed to watch target process exit.", "End installation"}));
}

TEST_F(RunSequence, AFailedInstallationReleasesBothAndRelaunches) {
  run.fileManager->failingCopy = 1;
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_TRUE(wasLaunched());
  EXPECT_EQ(run.logLines(), (Lines{"Begin installation", "Error: Unable to backup target.", "End installation"}));
}

TEST_F(RunSequence, ASuccessfulInstallationWithARefusedLaunchIsASuccess) {
  run.launchSucceeds = false;
  EXPECT_EQ(runInstaller(), 0);
  EXPECT_EQ(run.logLines(),
            (Lines{"Begin installation", "Error: Unable to relaunch target application.", "End installation"}));
}

TEST_F(RunSequence, AFailedCreationTakesNothingAndLaunchesNothing) {
  setUpdatePath("");
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_TRUE(run.events.empty());
  EXPECT_EQ(run.logLines(), (Lines{"Begin installation", "Error: Invalid update path.", "Error: Initialization failed.",
                                   "End installation"}));
}

TEST_F(RunSequence, LogsTheEndAfterTheSemaphoresAreReleasedAndBeforeTheirHandlesAreClosed) {
  class EndSystem : public test::ScriptedRun {
   public:
    void log(const std::string& message) override {
      if (message.ends_with("End installation")) events.emplace_back("end");
    }
  } system;
  system.settings = run.settings;
  system.information = run.information;
  const System::Scope inner(system);
  EXPECT_EQ(runInstaller(), 0);
  const auto place = [&](const std::string& event) {
    return std::find(system.events.begin(), system.events.end(), event) - system.events.begin();
  };
  EXPECT_LT(place("post installer"), place("launch"));
  EXPECT_LT(place("launch"), place("end"));
  EXPECT_LT(place("end"), place("close installer"));
}

/// A system on which one call runs out of memory.
class OutOfMemory : public test::ScriptedRun {
 public:
  void sleepForTimeInterval(double) override { failIf("sleep"); }
  std::int32_t getpid() override {
    failIf("record");
    return ScriptedRun::getpid();
  }
  int sem_wait(SemaphoreHandle semaphore) override {
    failIf("wait");
    return ScriptedRun::sem_wait(semaphore);
  }
  int sem_trywait(SemaphoreHandle semaphore) override {
    failIf("try");
    return ScriptedRun::sem_trywait(semaphore);
  }
  int sem_post(SemaphoreHandle semaphore) override {
    failIf("post");
    return ScriptedRun::sem_post(semaphore);
  }
  std::vector<std::string> arguments() override {
    failIf("arguments");
    return ScriptedRun::arguments();
  }
  bool launch(const Ref<NSURL>& bundle, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long options) override {
    failIf("launch");
    return ScriptedRun::launch(bundle, executable, arguments, options);
  }
  Ref<NSFileManager> makeFileManager() override {
    failIf("file manager");
    return ScriptedRun::makeFileManager();
  }
  void log(const std::string& message) override {
    if (message.ends_with(failingMessage)) throw std::bad_alloc();
    ScriptedRun::log(message);
  }

  std::string failingCall;
  std::string failingMessage = "none";

 private:
  void failIf(const std::string& call) const {
    if (call == failingCall) throw std::bad_alloc();
  }
};

class RunOutOfMemory : public RunSequence {
 protected:
  RunOutOfMemory() {
    system.settings = run.settings;
    system.information = run.information;
  }
  OutOfMemory system;
  System::Scope inner{system};
};

TEST_F(RunOutOfMemory, EndsTheRunWithoutALaunchIfItHappensAtCreation) {
  system.failingCall = "arguments";
  EXPECT_EQ(runInstaller(), 1);
  EXPECT_TRUE(system.events.empty());
}

TEST_F(RunOutOfMemory, FailsAStepLikeAnyOtherFailure) {
  // The target is there at creation and at the first check of the exit wait, which therefore sleeps once.
  system.existence = [](int check) { return check < 2 ? noErr : procNotFound; };
  for (const char* call : {"wait", "try", "sleep", "file manager"}) {
    system.failingCall = call;
    system.events.clear();
    system.checks = 0;
    EXPECT_EQ(runInstaller(), 1) << call;
    EXPECT_NE(std::find(system.events.begin(), system.events.end(), "launch"), system.events.end()) << call;
  }
}

TEST_F(RunOutOfMemory, LeavesTheLockHeldIfItHappensWhileTheRecordIsWritten) {
  system.failingCall = "record";
  EXPECT_EQ(runInstaller(), 0);
  EXPECT_NE(std::find(system.events.begin(), system.events.end(), "post update"), system.events.end());
}

TEST_F(RunOutOfMemory, DoesNotChangeTheStatusIfItHappensInTheRelaunch) {
  system.failingCall = "launch";
  EXPECT_EQ(runInstaller(), 0);
}

TEST_F(RunOutOfMemory, DoesNotEndTheRunIfItHappensInReleasing) {
  system.failingCall = "post";
  EXPECT_EQ(runInstaller(), 0);
  EXPECT_NE(std::find(system.events.begin(), system.events.end(), "launch"), system.events.end());
}

TEST_F(RunOutOfMemory, DoesNotKeepTheRollbackFromBeingTriedIfItHappensInItsLogLine) {
  system.fileManager->failingCopy = 2;
  system.failingMessage = "Performing rollback.";
  EXPECT_EQ(runInstaller(), 1);
  const std::string rollback = "copy /volume/.temporary/A.app to " + target();
  EXPECT_NE(std::find(system.events.begin(), system.events.end(), rollback), system.events.end());
}

TEST_F(RunOutOfMemory, DoesNotEndTheRunIfItHappensInTheLastLogLine) {
  system.failingMessage = "End installation";
  EXPECT_EQ(runInstaller(), 0);
}

}  // namespace
}  // namespace zk
