#include <crt_externs.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "StandInFoundation.h"
#include "StandInProcessManager.h"
#include "StandInWorkspace.h"
#include "darwin/FoundFunctions.h"
#include "darwin/KernelProcess.h"
#include "darwin/Spawn.h"
#include "system/Port.h"
#include "system/System.h"

namespace zk::test {

namespace {

/// A stand-in for everything that the system object asks. One lives at a time.
struct StandInMac {
  StandInMac() { current = this; }
  ~StandInMac() { current = nullptr; }
  StandInMac(const StandInMac&) = delete;
  StandInMac& operator=(const StandInMac&) = delete;

  StandInFoundation foundation;
  StandInProcessManager manager;
  StandInWorkspace workspace{foundation};
  bool hasObjectiveC = true;

  // What the kernel says about every process.
  port::Existence existence = port::Existence::exists;
  std::optional<uid_t> user = ::geteuid();

  /// The programs that were run, each with its arguments.
  std::vector<std::vector<std::string>> run;
  bool runsToSuccess = true;

  static inline StandInMac* current = nullptr;
};

}  // namespace

}  // namespace zk::test

extern "C" char*** _NSGetEnviron() { return &environ; }

zk::port::Existence zk::port::existenceOf(std::int32_t /*pid*/) { return test::StandInMac::current->existence; }

namespace zk::darwin {

using test::StandInMac;

const CoreFoundationFunctions* coreFoundation() { return &StandInMac::current->foundation.functions; }
const ProcessManagerFunctions& processManager() { return StandInMac::current->manager.functions; }
const ObjectiveCFunctions* objectiveC() {
  return StandInMac::current->hasObjectiveC ? &StandInMac::current->workspace.functions : nullptr;
}

std::optional<uid_t> userOf(std::int32_t /*pid*/) { return StandInMac::current->user; }

Ref<NSTask> spawnTask(const std::string& executable, const std::vector<std::string>& arguments,
                      char* const* environment) {
  runToSuccess(executable, arguments, environment);
  return nullptr;
}

bool runToSuccess(const std::string& executable, const std::vector<std::string>& arguments, char* const* environment) {
  EXPECT_EQ(environment, environ);
  StandInMac::current->run.push_back({executable});
  std::vector<std::string>& list = StandInMac::current->run.back();
  list.insert(list.end(), arguments.begin(), arguments.end());
  return StandInMac::current->runsToSuccess;
}

}  // namespace zk::darwin

namespace zk::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kApplication = StandInProcessManager::kPID;
constexpr std::int32_t kTool = kApplication + 1;  ///< which the process manager does not know

class DarwinSystem : public ::testing::Test {
 protected:
  OSStatusCode lookUp(std::int32_t pid) { return system.GetProcessForPID(pid, process); }

  Ref<NSDictionary> informationOf(std::int32_t pid) {
    return system.ProcessInformationCopyDictionary({pid}, kProcessDictionaryIncludeAllInformationMask);
  }

  /// Looks up a process of this user that runs from the bundle.
  void lookUpProcessOf(const std::string& bundle, std::optional<uid_t> user) {
    mac.user = user;
    mac.manager.makeDictionary = [bundle] {
      return StandInFoundation::dictionary({{"BundlePath", StandInFoundation::text(bundle)}});
    };
    EXPECT_TRUE(informationOf(kApplication));
  }

  bool launch(const std::string& bundle) {
    mac.workspace.launch.reset();
    mac.run.clear();
    return system.launch(std::make_shared<NSURL>(bundle), bundle + "/Contents/MacOS/x", {"-key", "NO"}, 0x90100);
  }

  StandInMac mac;
  System& system = port::operatingSystem();
  ProcessSerialNumber process;
};

TEST_F(DarwinSystem, HasTheKernelSayWhetherAProcessExists) {
  EXPECT_EQ(lookUp(kTool), noErr);
  EXPECT_EQ(process.pid, kTool);
  mac.existence = port::Existence::gone;
  EXPECT_EQ(lookUp(kApplication), procNotFound);
  mac.existence = port::Existence::unknown;
  EXPECT_NE(lookUp(kApplication), noErr);
  EXPECT_NE(lookUp(kApplication), procNotFound);
}

TEST_F(DarwinSystem, HasTheProcessManagerTellEverythingElse) {
  lookUpProcessOf("/Applications/Known.app", ::geteuid());
  mac.manager.launchStamp = 4711;
  const Ref<NSString> bundle = asString(informationOf(kApplication)->objectForKey(ZKBundlePathKey));
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bytes(), "/Applications/Known.app");
  ProcessInfoRec information;
  EXPECT_EQ(system.GetProcessInformation({kApplication}, information), noErr);
  EXPECT_EQ(information.processLaunchDate, 4711U);
}

TEST_F(DarwinSystem, KnowsOfAPlainToolOnlyThatItExists) {
  ASSERT_TRUE(informationOf(kTool));
  EXPECT_EQ(informationOf(kTool)->count(), 0U);
  ProcessInfoRec information;
  EXPECT_NE(system.GetProcessInformation({kTool}, information), noErr);
}

TEST_F(DarwinSystem, HasNoInformationAboutAProcessThatIsGone) {
  mac.existence = port::Existence::gone;
  EXPECT_FALSE(informationOf(kApplication));
}

TEST_F(DarwinSystem, HasTheWorkspaceLaunchTheBundle) {
  EXPECT_TRUE(launch("/Applications/One.app"));
  ASSERT_TRUE(mac.workspace.launch);
  EXPECT_EQ(mac.workspace.launch->path, "/Applications/One.app/");
  EXPECT_EQ(mac.workspace.launch->options, 0x90100UL);
  EXPECT_THAT(mac.workspace.launch->arguments, ElementsAre("-key", "NO"));
  EXPECT_THAT(mac.run, IsEmpty());
}

TEST_F(DarwinSystem, TakesTheWorkspacesRefusalForTheAnswer) {
  mac.workspace.accepts = false;
  EXPECT_FALSE(launch("/Applications/One.app"));
  EXPECT_THAT(mac.run, IsEmpty());
}

TEST_F(DarwinSystem, OpensTheBundleWhereTheWorkspacesCallIsGone) {
  const auto expectOpened = [this] {
    for (const bool succeeds : {true, false}) {
      mac.runsToSuccess = succeeds;
      EXPECT_EQ(launch("/Applications/One.app"), succeeds);
      EXPECT_THAT(mac.run,
                  ElementsAre(ElementsAre("/usr/bin/open", "-n", "/Applications/One.app", "--args", "-key", "NO")));
    }
  };
  mac.workspace.hasLaunchMethod = false;
  expectOpened();
  mac.hasObjectiveC = false;
  expectOpened();
}

TEST_F(DarwinSystem, DoesNotLaunchAnotherUsersApplicationNorOneOfAnUnknownUser) {
  lookUpProcessOf("/Applications/Others.app", ::geteuid() + 1);
  lookUpProcessOf("/Applications/Unknown.app", std::nullopt);
  lookUpProcessOf("/Applications/Own.app", ::geteuid());
  for (const char* bundle : {"/Applications/Others.app", "/Applications/Unknown.app"}) {
    for (const bool hasMethod : {true, false}) {
      mac.workspace.hasLaunchMethod = hasMethod;
      EXPECT_FALSE(launch(bundle)) << bundle;
      EXPECT_FALSE(mac.workspace.launch) << bundle;
      EXPECT_THAT(mac.run, IsEmpty()) << bundle;
    }
  }
  EXPECT_TRUE(launch("/Applications/Own.app"));
}

TEST_F(DarwinSystem, GoesByTheFirstProcessOfABundle) {
  lookUpProcessOf("/Applications/First.app", ::geteuid());
  lookUpProcessOf("/Applications/First.app", ::geteuid() + 1);
  EXPECT_TRUE(launch("/Applications/First.app"));
  lookUpProcessOf("/Applications/Second.app", ::geteuid() + 1);
  lookUpProcessOf("/Applications/Second.app", ::geteuid());
  EXPECT_FALSE(launch("/Applications/Second.app"));
}

TEST_F(DarwinSystem, StartsATaskWithTheEnvironmentOfThisProcess) {
  system.launchTask("/opt/zkupdater", {"-pid", "1"});
  EXPECT_THAT(mac.run, ElementsAre(ElementsAre("/opt/zkupdater", "-pid", "1")));
}

}  // namespace

}  // namespace zk::test
