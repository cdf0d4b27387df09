#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ZKUpdater.h"
#include "objects/NSAutoreleasePool.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "updater/BareUpdater.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

using Lines = std::vector<std::string>;

class Discovery : public testing::Test {
 protected:
  /// The line that a failed creation logs about its reason.
  std::string failureOfCreation() {
    run.rawLog.clear();
    const auto updater = ZKUpdater::init();
    EXPECT_EQ(updater, nullptr);
    const Lines lines = run.logLines();
    EXPECT_EQ(lines.size(), 4U);
    if (lines.size() != 4) return {};
    EXPECT_EQ(lines[0], "Begin installation");
    EXPECT_EQ(lines[2], "Error: Initialization failed.");
    EXPECT_EQ(lines[3], "End installation");
    return lines[1];
  }
  void setPid(const std::string& pid) { run.settings[2] = pid; }
  void setUpdatePath(const std::string& path) { run.settings[4] = path; }
  void setInformation(const Ref<NSObject>& path, const Ref<NSObject>& identifier) {
    std::vector<NSDictionary::Entry> entries;
    if (path) entries.push_back({ZKBundlePathKey, path});
    if (identifier) entries.push_back({kCFBundleIdentifierKey, identifier});
    run.information = NSDictionary::dictionaryWithEntries(entries);
  }

  test::ScriptedRun run;
  System::Scope scope{run};
};

TEST_F(Discovery, FailsWithoutAPid) {
  for (const char* pid : {"0", "", "none", "4294967296", "-4294967296"}) {
    setPid(pid);
    EXPECT_EQ(failureOfCreation(), "Error: Target PID not specified.") << pid;
  }
  EXPECT_TRUE(run.checkedPids.empty());
}

TEST_F(Discovery, UsesTheLow32BitsOfThePidEvenIfTheyAreNegative) {
  run.existence = [](int) { return procNotFound; };
  // The last one is read as 2^63 - 1.
  for (const char* pid : {"4294967297", "-5", "4294967295", "18446744073709551616000"}) {
    setPid(pid);
    EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process serial number.") << pid;
  }
  EXPECT_EQ(run.checkedPids, (std::vector<std::int32_t>{1, -5, -1, -1}));
}

TEST_F(Discovery, FailsIfTheProcessDoesNotExistOrCannotBeLookedUp) {
  for (const OSStatusCode status : {procNotFound, -50, 1}) {
    run.existence = [status](int) { return status; };
    EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process serial number.");
  }
}

TEST_F(Discovery, FailsWithoutInformationAboutTheProcess) {
  run.existence = [](int) { return noErr; };
  run.information = nullptr;
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process info.");
}

TEST_F(Discovery, FailsForAProcessThatDoesNotRunFromABundle) {
  run.existence = [](int) { return noErr; };
  setInformation(nullptr, "com.example.a"_ns);
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process bundle path.");
  setInformation(""_ns, "com.example.a"_ns);
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process bundle path.");
  setInformation(NSString::stringWithBytes("/" + std::string(5000, 'x')), "com.example.a"_ns);
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process bundle path.");
}

TEST_F(Discovery, FailsForABundleWithoutAnIdentifier) {
  run.existence = [](int) { return noErr; };
  setInformation("/volume/A.app"_ns, nullptr);
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process bundle id.");
  setInformation("/volume/A.app"_ns, ""_ns);
  EXPECT_EQ(failureOfCreation(), "Error: Unable to get target process bundle id.");
}

TEST_F(Discovery, FailsWithoutAnUpdatePath) {
  run.existence = [](int) { return noErr; };
  setUpdatePath("");
  EXPECT_EQ(failureOfCreation(), "Error: Invalid update path.");
  run.settings.erase(run.settings.begin() + 3, run.settings.begin() + 5);
  EXPECT_EQ(failureOfCreation(), "Error: Invalid update path.");
}

TEST_F(Discovery, FailsIfTheUpdatePathCannotBecomeAURL) {
  run.existence = [](int) { return noErr; };
  setUpdatePath("/" + std::string(5000, 'x'));
  EXPECT_EQ(failureOfCreation(), "Error: Invalid update directory.");
}

TEST_F(Discovery, SucceedsWithAnUpdateDirectoryThatDoesNotExist) {
  setUpdatePath("/no-such-folder");
  EXPECT_NE(ZKUpdater::init(), nullptr);
}

/// Which bundle an installation copies.
class UpdateBundle : public Discovery {
 protected:
  UpdateBundle() { setUpdatePath(folder.path().string()); }

  void makeBundle(const std::string& place, const std::string& identifier = "com.example.a") {
    test::writeFile(folder / (place + "/Contents/Info.plist"), "{CFBundleIdentifier = \"" + identifier + "\";}");
  }
  /// The bundle found, as a path below the update directory; "none" if there is none.
  std::string found() {
    run.events.clear();
    run.rawLog.clear();
    run.checks = 0;
    const auto updater = ZKUpdater::init();
    run.fileManager->failingCopy = 0;
    const bool isInstalled = updater->install();
    if (!isInstalled) {
      EXPECT_EQ(run.logLines().back(), "Error: Unable to locate update bundle.");
      return "none";
    }
    const std::string start = "copy " + folder.path().string() + "/";
    for (const std::string& event : run.events) {
      if (event.starts_with(start)) return event.substr(start.size(), event.find(" to ") - start.size());
    }
    return "nothing copied";
  }

  test::TemporaryFolder folder;
};

TEST_F(UpdateBundle, IsTheFolderWithTheTargetsNameWhateverItsIdentifier) {
  makeBundle("A.app", "com.example.other");
  makeBundle("0.app");
  EXPECT_EQ(found(), "A.app");
}

TEST_F(UpdateBundle, IsFoundByIdentifierBesideAPlainFileWithTheTargetsName) {
  test::writeFile(folder / "A.app", "a file");
  makeBundle("deep/er/B.app");
  EXPECT_EQ(found(), "deep/er/B.app");
}

TEST_F(UpdateBundle, IsTheFirstMatchInTheOrderOfTheEnumeration) {
  makeBundle("c/Z.app");
  makeBundle("b/Y.app");
  makeBundle("X.app", "com.example.other");
  EXPECT_EQ(found(), "b/Y.app");
  makeBundle("a.app");
  EXPECT_EQ(found(), "a.app");
}

TEST_F(UpdateBundle, MayBeAnOrdinaryFolderOrAHiddenOne) {
  makeBundle(".hidden/folder");
  EXPECT_EQ(found(), ".hidden/folder");
}

TEST_F(UpdateBundle, IsNeverFoundInsideAnotherPackage) {
  makeBundle("Other.app", "com.example.other");
  makeBundle("Other.app/Contents/Resources/A2.app");
  EXPECT_EQ(found(), "none");
}

TEST_F(UpdateBundle, HasTheWholeIdentifierInTheSameCase) {
  makeBundle("B.app", "com.example.A");
  makeBundle("C.app", "com.example.a2");
  makeBundle("D.app", "com.example.");
  EXPECT_EQ(found(), "none");
}

TEST_F(UpdateBundle, IsNotSearchedForWithoutATargetIdentifier) {
  // These two must not be mistaken for a match: a folder without an identifier, and a bundle whose identifier is empty.
  std::filesystem::create_directory(folder / "plain");
  makeBundle("B.app", "");
  test::BareUpdater updater;
  updater.targetBundleURL = NSURL::fileURLWithPath("/volume/A.app"_ns);
  updater.updateDirectory = folder.url();
  EXPECT_EQ(updater.updateBundleURL(), nullptr);
  updater.targetBundleId = ""_ns;
  EXPECT_EQ(updater.updateBundleURL(), nullptr);

  makeBundle("A.app", "");
  ASSERT_NE(updater.updateBundleURL(), nullptr) << "the folder with the target's name needs no identifier";
  EXPECT_EQ(updater.updateBundleURL()->lastPathComponent()->bytes(), "A.app");
}

TEST_F(UpdateBundle, IsAbsentWithoutAnUpdateDirectory) {
  setUpdatePath((folder / "missing").string());
  EXPECT_EQ(found(), "none");
}

TEST_F(UpdateBundle, IsSearchedByIdentifierIfTheTargetHasNoName) {
  makeBundle("A.app");
  test::BareUpdater updater;
  updater.targetBundleURL = NSURL::fileURLWithPath("/"_ns);
  updater.targetBundleId = "com.example.a"_ns;
  updater.updateDirectory = folder.url();
  ASSERT_NE(updater.updateBundleURL(), nullptr);
  EXPECT_EQ(updater.updateBundleURL()->lastPathComponent()->bytes(), "A.app") << "not the update folder itself";
}

TEST_F(UpdateBundle, IsFoundAfterAnItemThatCannotBeInspected) {
  // A chain of folders whose innermost item has a path too long to use.
  const std::string name(250, 'a');
  int current = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
  for (std::size_t pathLength = folder.path().string().size(); pathLength <= kLongestPath;
       pathLength += name.size() + 1) {
    ASSERT_EQ(::mkdirat(current, name.c_str(), 0755), 0);
    const int next = ::openat(current, name.c_str(), O_RDONLY | O_DIRECTORY);
    ::close(current);
    current = next;
  }
  ::close(current);
  makeBundle("z/B.app");
  EXPECT_EQ(found(), "z/B.app");
  EXPECT_TRUE(NSFileManager::defaultManager()->removeItemAtURL(folder.url(name)));
}

TEST_F(UpdateBundle, IsAbsentIfThePathWithTheTargetsNameIsTooLong) {
  setUpdatePath("/" + std::string(4093, 'x'));
  EXPECT_EQ(found(), "none");
}

TEST_F(Discovery, StoresNothingOfATargetThatLacksSomething) {
  run.existence = [](int) { return noErr; };
  test::BareUpdater updater;
  const auto expectNothing = [&updater] {
    EXPECT_EQ(updater.targetPID, 0);
    EXPECT_EQ(updater.targetBundleURL, nullptr);
    EXPECT_EQ(updater.targetBundleId, nullptr);
  };
  setInformation(nullptr, "com.example.a"_ns);
  EXPECT_FALSE(updater.initTargetInfo());
  expectNothing();
  setInformation("/volume/A.app"_ns, nullptr);
  EXPECT_FALSE(updater.initTargetInfo());
  expectNothing();

  setInformation("/volume/A.app"_ns, "com.example.a"_ns);
  EXPECT_TRUE(updater.initTargetInfo());
  EXPECT_EQ(updater.targetPID, 4711);
  EXPECT_EQ(updater.targetBundleURL->path()->bytes(), "/volume/A.app");
  EXPECT_EQ(updater.targetBundleId->bytes(), "com.example.a");
}

TEST_F(Discovery, LeavesTheInformationOnTheProcessToTheScopeOfTemporaryObjects) {
  class GivingSystem : public test::ScriptedRun {
   public:
    Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber&, std::uint32_t) override {
      const Ref<NSDictionary> copy = NSDictionary::dictionaryWithEntries(information->entries());
      given = copy;
      return copy;
    }
    std::weak_ptr<NSDictionary> given;
  } system;
  const System::Scope inner(system);
  {
    const NSAutoreleasePool pool;
    EXPECT_NE(ZKUpdater::init(), nullptr);
    EXPECT_FALSE(system.given.expired());
  }
  EXPECT_TRUE(system.given.expired());
}

}  // namespace
}  // namespace zk
