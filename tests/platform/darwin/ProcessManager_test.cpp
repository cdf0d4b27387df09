#include "darwin/ProcessManager.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <map>

#include "StandInFoundation.h"
#include "StandInProcessManager.h"
#include "system/System.h"

namespace zk::test {

namespace {

using Texts = std::map<std::string, std::string>;

class ProcessManager : public ::testing::Test {
 protected:
  /// What is known about a process, as plain texts.
  Texts informationOf(std::int32_t pid = StandInProcessManager::kPID) {
    const Ref<NSDictionary> information =
        darwin::informationOf(pid, 0xFFFFFFFF, manager.functions, &foundation.functions);
    EXPECT_TRUE(information);
    Texts texts;
    for (const Ref<NSString>& key : {Ref<NSString>(ZKBundlePathKey), Ref<NSString>(kCFBundleIdentifierKey),
                                     Ref<NSString>(kCFBundleExecutableKey)}) {
      if (const Ref<NSString> text = asString(information->objectForKey(key))) texts[key->bytes()] = text->bytes();
    }
    EXPECT_EQ(information->entries().size(), texts.size());
    return texts;
  }

  std::optional<std::uint32_t> launchStamp(std::int32_t pid = StandInProcessManager::kPID) {
    return darwin::launchStampOf(pid, manager.functions);
  }

  StandInFoundation foundation;
  StandInProcessManager manager;
};

darwin::Object text(const char* bytes) { return StandInFoundation::text(bytes); }

TEST_F(ProcessManager, TellsTheThreeFactsInItsOwnWords) {
  manager.makeDictionary = [] {
    return StandInFoundation::dictionary(
        {{"pid", StandInFoundation::number()},
         {"BundlePath", text("/Applications/Caf\u00E9.app")},
         {"CFBundleIdentifier", text("com.example.cafe")},
         {"CFBundleExecutable", text("/Applications/Caf\u00E9.app/Contents/MacOS/x")}});
  };
  EXPECT_EQ(informationOf(), (Texts{{"BundlePath", "/Applications/Caf\u00E9.app"},
                                    {"CFBundleIdentifier", "com.example.cafe"},
                                    {"CFBundleExecutable", "/Applications/Caf\u00E9.app/Contents/MacOS/x"}}));
  EXPECT_EQ(manager.mask, 0xFFFFFFFF);
}

TEST_F(ProcessManager, LeavesOutWhatItDoesNotKnow) {
  manager.makeDictionary = [] { return StandInFoundation::dictionary({{"CFBundleExecutable", text("/bin/x")}}); };
  EXPECT_EQ(informationOf(), (Texts{{"CFBundleExecutable", "/bin/x"}}));
  manager.makeDictionary = [] { return StandInFoundation::dictionary({}); };
  EXPECT_EQ(informationOf(), Texts{});
}

TEST_F(ProcessManager, LeavesOutWhatIsNoText) {
  manager.makeDictionary = [] {
    return StandInFoundation::dictionary(
        {{"BundlePath", StandInFoundation::number()}, {"CFBundleIdentifier", text("id")}});
  };
  EXPECT_EQ(informationOf(), (Texts{{"CFBundleIdentifier", "id"}}));
}

TEST_F(ProcessManager, KnowsNothingOfAProcessThatItDoesNotList) {
  manager.makeDictionary = [] { return StandInFoundation::dictionary({{"BundlePath", text("/x.app")}}); };
  // This process has an executable, which nothing else may tell.
  EXPECT_EQ(informationOf(::getpid()), Texts{});
  EXPECT_EQ(launchStamp(::getpid()), std::nullopt);
}

TEST_F(ProcessManager, KnowsNothingWhenItsLookUpFails) {
  manager.makeDictionary = [] { return StandInFoundation::dictionary({{"BundlePath", text("/x.app")}}); };
  manager.lookUpStatus = -10810;
  EXPECT_EQ(informationOf(), Texts{});
  EXPECT_EQ(launchStamp(), std::nullopt);
}

TEST_F(ProcessManager, MayHaveNoDictionary) { EXPECT_EQ(informationOf(), Texts{}); }

TEST_F(ProcessManager, KnowsNothingOnceItsCallsAreGone) {
  manager.makeDictionary = [] { return StandInFoundation::dictionary({{"BundlePath", text("/x.app")}}); };
  manager.functions.ProcessInformationCopyDictionary = nullptr;
  EXPECT_EQ(informationOf(), Texts{});
  EXPECT_EQ(launchStamp(), 0U);
  manager.functions.GetProcessInformation = nullptr;
  EXPECT_EQ(launchStamp(), std::nullopt);
  manager.functions = {};
  EXPECT_EQ(informationOf(), Texts{});
  EXPECT_EQ(launchStamp(), std::nullopt);
}

TEST_F(ProcessManager, CannotBeUnderstoodWithoutCoreFoundation) {
  EXPECT_EQ(darwin::informationOf(StandInProcessManager::kPID, 0, manager.functions, nullptr)->entries().size(), 0U);
}

TEST_F(ProcessManager, TellsTheLaunchStampInAllItsBits) {
  for (const std::uint32_t stamp : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    manager.launchStamp = stamp;
    EXPECT_EQ(launchStamp(), stamp);
  }
}

TEST_F(ProcessManager, IsAskedForNoNameAndNoFile) {
  launchStamp();
  // Copies, since nothing may refer to the members of a packed record.
  EXPECT_EQ(std::uint32_t{manager.record.processInfoLength}, 72U);
  EXPECT_TRUE(manager.record.processName == nullptr);
  EXPECT_TRUE(manager.record.processAppRef == nullptr);
}

TEST_F(ProcessManager, HasNoLaunchStampIfItsCallFails) {
  manager.launchStamp = 5;
  for (const auto status : std::initializer_list<std::int16_t>{-50, -600, -32768, 1}) {
    manager.informationStatus = status;
    EXPECT_EQ(launchStamp(), std::nullopt) << status;
  }
}

}  // namespace

}  // namespace zk::test
