#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>

#include "ZKPOSIXSemaphore.h"
#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSNumber.h"
#include "plist/NSPropertyListSerialization.h"
#include "support/ForwardingSystem.h"
#include "support/Memory.h"
#include "support/SemaphoreName.h"
#include "support/TemporaryFolder.h"

namespace zk {
namespace {

using test::ForwardingSystem;
using test::SemaphoreName;
using test::TemporaryFolder;

const std::int32_t kSomePid = 4711;

/// A process manager that knows one process, whose facts a test sets.
class OneProcessSystem : public ForwardingSystem {
 public:
  std::int32_t getpid() override { return kSomePid; }
  OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override {
    if (pid != kSomePid) return procNotFound;
    process.pid = pid;
    return existence;
  }
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber&, std::uint32_t mask) override {
    EXPECT_EQ(mask, 0xFFFFFFFFU);
    return information;
  }
  OSStatusCode GetProcessInformation(const ProcessSerialNumber&, ProcessInfoRec& info) override {
    EXPECT_EQ(info.processInfoLength, sizeof info);
    EXPECT_EQ(info.processLaunchDate, 0U);
    info.processLaunchDate = launchStamp;
    return launchStatus;
  }

  OSStatusCode existence = noErr;
  OSStatusCode launchStatus = noErr;
  std::uint32_t launchStamp = 0xFFFFFFFF;
  Ref<NSDictionary> information =
      NSDictionary::dictionaryWithEntries({{kCFBundleExecutableKey, "/A.app/Contents/MacOS/A"_ns},
                                           {kCFBundleIdentifierKey, "com.example.a"_ns},
                                           {ZKBundlePathKey, "/A.app"_ns}});
};

class ProcessInfo : public testing::Test {
 protected:
  Ref<NSDictionary> freshRecord() { return ZKPOSIXSemaphore::processInfoForPID(kSomePid); }

  /// The fresh record with `object` under `key`, or without the key when it is absent.
  Ref<NSDictionary> recordWith(const Ref<NSString>& key, const Ref<NSObject>& object) {
    std::vector<NSDictionary::Entry> entries;
    const Ref<NSDictionary> fresh = freshRecord();
    for (const auto& entry : fresh->entries()) {
      if (!entry.key->isEqual(key)) entries.push_back(entry);
    }
    if (object) entries.push_back({key, object});
    return NSDictionary::dictionaryWithEntries(entries);
  }

  OneProcessSystem system;
  System::Scope scope{system};
};

TEST_F(ProcessInfo, IsAbsentForAProcessThatDoesNotExist) {
  EXPECT_EQ(ZKPOSIXSemaphore::processInfoForPID(kSomePid + 1), nullptr);
}

TEST_F(ProcessInfo, HoldsAllThatIsKnown) {
  const Ref<NSDictionary> record = freshRecord();
  EXPECT_EQ(record->count(), 4U);
  EXPECT_EQ(asNumber(record->objectForKey("pid"_ns))->longLongValue(), kSomePid);
  EXPECT_TRUE(asNumber(record->objectForKey("pid"_ns))->isInteger());
  EXPECT_EQ(asString(record->objectForKey("executablePath"_ns))->bytes(), "/A.app/Contents/MacOS/A");
  EXPECT_EQ(asString(record->objectForKey("bundleId"_ns))->bytes(), "com.example.a");
  // The stamp as seconds after the reference date, exactly.
  EXPECT_EQ(asDate(record->objectForKey("creationDate"_ns))->timeIntervalSinceReferenceDate(), 4294967295.0);
}

TEST_F(ProcessInfo, HoldsOnlyThePidIfTheLookUpItselfFails) {
  system.existence = -50;
  const Ref<NSDictionary> record = freshRecord();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->count(), 1U);
  EXPECT_EQ(asNumber(record->objectForKey("pid"_ns))->longLongValue(), kSomePid);
}

TEST_F(ProcessInfo, LeavesOutWhatTheInformationDoesNotHold) {
  system.information = nullptr;
  EXPECT_EQ(freshRecord()->count(), 2U);
  EXPECT_NE(freshRecord()->objectForKey("creationDate"_ns), nullptr);

  system.information =
      NSDictionary::dictionaryWithEntries({{kCFBundleExecutableKey, ""_ns}, {kCFBundleIdentifierKey, ""_ns}});
  EXPECT_EQ(freshRecord()->count(), 2U);

  system.information = NSDictionary::dictionaryWithEntries(
      {{kCFBundleExecutableKey, NSNumber::numberWithInt(1)}, {kCFBundleIdentifierKey, "com.example.a"_ns}});
  EXPECT_EQ(freshRecord()->objectForKey("executablePath"_ns), nullptr);
  EXPECT_NE(freshRecord()->objectForKey("bundleId"_ns), nullptr);
}

TEST_F(ProcessInfo, LeavesOutTheDateIfTheLaunchIsUnknown) {
  system.launchStatus = -50;
  EXPECT_EQ(freshRecord()->objectForKey("creationDate"_ns), nullptr);
  EXPECT_EQ(freshRecord()->count(), 3U);
}

TEST_F(ProcessInfo, LeavesOutABundleThatMayHaveChangedUnderTheProcess) {
  system.information = NSDictionary::dictionaryWithEntries({{kCFBundleExecutableKey, "/A.app/Contents/MacOS/A"_ns},
                                                            {kCFBundleIdentifierKey, "com.example.b"_ns},
                                                            {ZKBundleMayChangeKey, NSNumber::numberWithBool(true)}});
  EXPECT_EQ(freshRecord()->objectForKey("bundleId"_ns), nullptr);
  EXPECT_NE(freshRecord()->objectForKey("executablePath"_ns), nullptr);
}

TEST_F(ProcessInfo, IsAbsentWhenThereIsNoMemoryForTheRecord) {
  const test::FailingAllocation failing(0);
  EXPECT_EQ(freshRecord(), nullptr);
  EXPECT_TRUE(failing.hasFailed());
}

TEST_F(ProcessInfo, IsMadeForTheCallersOwnId) {
  EXPECT_TRUE(areEqual(ZKPOSIXSemaphore::currentProcessInfo(), freshRecord()));
}

TEST_F(ProcessInfo, IsValidWhileEverythingAgrees) { EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(freshRecord())); }

TEST_F(ProcessInfo, IsNotValidWhenAbsentOrWithoutAPid) {
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(nullptr));
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("pid"_ns, nullptr)));
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("pid"_ns, "4711"_ns)));
}

TEST_F(ProcessInfo, IsNotValidWhenTheProcessIsGone) {
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("pid"_ns, NSNumber::numberWithInt(kSomePid + 1))));
}

TEST_F(ProcessInfo, IsValidWithOnlyThePidWhileAProcessWithThatIdRuns) {
  const Ref<NSDictionary> record = NSDictionary::dictionaryWithEntries({{"pid"_ns, NSNumber::numberWithInt(kSomePid)}});
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

TEST_F(ProcessInfo, IsValidIfTheProcessManagerKnowsOnlyThePid) {
  const Ref<NSDictionary> record = freshRecord();
  system.existence = -50;
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

TEST_F(ProcessInfo, IsNotValidWithAnotherExecutablePath) {
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("executablePath"_ns, "/B"_ns)));
}

TEST_F(ProcessInfo, IsValidWithAnEmptyOrAbsentExecutablePath) {
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("executablePath"_ns, ""_ns)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("executablePath"_ns, nullptr)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("executablePath"_ns, NSNumber::numberWithInt(1))));
  const Ref<NSDictionary> record = freshRecord();
  system.information = nullptr;
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

TEST_F(ProcessInfo, IsNotValidWithAnotherBundleIdButWithAnEmptyOrAbsentOne) {
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("bundleId"_ns, "com.example.A"_ns)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("bundleId"_ns, ""_ns)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("bundleId"_ns, nullptr)));
}

TEST_F(ProcessInfo, IsNotValidWithADateThatDiffersByAnyAmount) {
  const double exact = 4294967295.0;
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(
      recordWith("creationDate"_ns, NSDate::dateWithTimeIntervalSinceReferenceDate(exact))));
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(
      recordWith("creationDate"_ns, NSDate::dateWithTimeIntervalSinceReferenceDate(exact + 0x1p-20))));
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(
      recordWith("creationDate"_ns, NSDate::dateWithTimeIntervalSinceReferenceDate(exact - 1))));
}

TEST_F(ProcessInfo, IsValidWithADateOfAnotherKind) {
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("creationDate"_ns, "today"_ns)));
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("creationDate"_ns, NSNumber::numberWithInt(1))));
}

TEST_F(ProcessInfo, ThatCannotBeComparedOnOneKeyIsComparedOnTheNext) {
  const Ref<NSString> executablePath = "executablePath"_ns;
  const Ref<NSString> bundleId = "bundleId"_ns;
  const NSDictionary::Entry otherBundle{bundleId, "com.example.b"_ns};
  const NSDictionary::Entry otherDate{"creationDate"_ns, NSDate::dateWithTimeIntervalSinceReferenceDate(1)};
  const NSDictionary::Entry pid{"pid"_ns, NSNumber::numberWithInt(kSomePid)};
  const NSDictionary::Entry samePath{executablePath, "/A.app/Contents/MacOS/A"_ns};
  const NSDictionary::Entry sameBundle{bundleId, "com.example.a"_ns};
  const auto isValid = [&pid](std::vector<NSDictionary::Entry> entries) {
    entries.push_back(pid);
    return ZKPOSIXSemaphore::isProcessInfoValid(NSDictionary::dictionaryWithEntries(entries));
  };
  for (const Ref<NSObject>& nothing : {Ref<NSObject>(""_ns), Ref<NSObject>(NSNumber::numberWithInt(1))}) {
    EXPECT_FALSE(isValid({{executablePath, nothing}, otherBundle}));
    EXPECT_FALSE(isValid({{executablePath, nothing}, sameBundle, otherDate}));
    EXPECT_FALSE(isValid({samePath, {bundleId, nothing}, otherDate}));
  }
  EXPECT_FALSE(isValid({otherBundle}));
  EXPECT_FALSE(isValid({samePath, otherDate}));
  EXPECT_FALSE(isValid({otherDate}));

  // The same where it is the process manager that does not know the key.
  system.information = NSDictionary::dictionaryWithEntries({{kCFBundleIdentifierKey, "com.example.a"_ns}});
  EXPECT_FALSE(isValid({samePath, otherBundle}));
  system.information = NSDictionary::dictionaryWithEntries({{kCFBundleExecutableKey, "/A.app/Contents/MacOS/A"_ns}});
  EXPECT_FALSE(isValid({samePath, sameBundle, otherDate}));
  system.information = nullptr;
  EXPECT_FALSE(isValid({samePath, sameBundle, otherDate}));
}

TEST_F(ProcessInfo, IsValidIfEitherSideHasNoDate) {
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(recordWith("creationDate"_ns, nullptr)));
  const Ref<NSDictionary> record = freshRecord();
  system.launchStatus = -50;
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

TEST(ProcessInfoOfRealProcesses, OurOwnRecordIsValidAndHoldsOurPid) {
  const Ref<NSDictionary> record = ZKPOSIXSemaphore::currentProcessInfo();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(asNumber(record->objectForKey("pid"_ns))->longLongValue(), ::getpid());
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

TEST(ProcessInfoOfRealProcesses, IsValidAsLongAsTheProcessRuns) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::pause();
    ::_exit(0);
  }
  const Ref<NSDictionary> record = ZKPOSIXSemaphore::processInfoForPID(child);
  EXPECT_TRUE(ZKPOSIXSemaphore::isProcessInfoValid(record));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(ZKPOSIXSemaphore::isProcessInfoValid(record));
}

class ProcessInfoFile : public testing::Test {
 protected:
  TemporaryFolder folder;
  SemaphoreName name;
  Ref<ZKPOSIXSemaphore> semaphore = ZKPOSIXSemaphore::initWithCreate(name.text(), false, 0666, 1);
  std::string fileName = "." + name.bytes() + ".semaphore";
};

TEST_F(ProcessInfoFile, IsNamedAfterTheSemaphore) {
  const auto named = ZKPOSIXSemaphore::init();
  named->openWithName("update-42"_ns, SemaphoreFlags::none, 0, 0);
  const Ref<NSURL> directory = NSURL::fileURLWithPath("/tmp/u"_ns);
  EXPECT_EQ(named->processInfoURLAtDirectory(directory)->path()->bytes(), "/tmp/u/.update-42.semaphore");
  // The name is inserted as it is.
  named->openWithName("/a b%@"_ns, SemaphoreFlags::none, 0, 0);
  EXPECT_EQ(named->processInfoURLAtDirectory(directory)->path()->bytes(), "/tmp/u/./a b%@.semaphore");
}

TEST_F(ProcessInfoFile, HasNoPlaceWithoutADirectoryOrAName) {
  const auto nameless = ZKPOSIXSemaphore::init();
  const auto emptyName = ZKPOSIXSemaphore::init();
  emptyName->openWithName(""_ns, SemaphoreFlags::none, 0, 0);
  for (const auto& [object, directory] :
       {std::pair(semaphore, Ref<NSURL>()), std::pair(nameless, folder.url()), std::pair(emptyName, folder.url())}) {
    EXPECT_EQ(object->processInfoURLAtDirectory(directory), nullptr);
    EXPECT_FALSE(object->writeProcessInfoAtURL(directory));
    EXPECT_FALSE(object->removeProcessInfoAtURL(directory));
    EXPECT_EQ(object->processInfoAtURL(directory), nullptr);
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ProcessInfoFile, IsABinaryPropertyListThatReadsBack) {
  ASSERT_TRUE(semaphore->writeProcessInfoAtURL(folder.url()));
  EXPECT_EQ(test::readFile(folder / fileName).substr(0, 8), "bplist00");
  const Ref<NSObject> record = semaphore->processInfoAtURL(folder.url());
  EXPECT_TRUE(areEqual(record, ZKPOSIXSemaphore::currentProcessInfo()));
}

TEST_F(ProcessInfoFile, ReplacesTheOldOneAndLeavesNothingElse) {
  test::writeFile(folder / fileName, "old");
  std::filesystem::create_hard_link(folder / fileName, folder / "seen by a reader");
  ASSERT_TRUE(semaphore->writeProcessInfoAtURL(folder.url()));
  const auto items = std::distance(std::filesystem::directory_iterator(folder.path()), {});
  EXPECT_EQ(items, 2);
  EXPECT_NE(semaphore->processInfoAtURL(folder.url()), nullptr);
  EXPECT_EQ(test::readFile(folder / "seen by a reader"), "old") << "the file was replaced, not written over";
}

TEST_F(ProcessInfoFile, IsNotWrittenIntoAMissingFolder) {
  EXPECT_FALSE(semaphore->writeProcessInfoAtURL(folder.url("missing")));
}

TEST_F(ProcessInfoFile, IsNotWrittenForAnUnknownCaller) {
  class NobodySystem : public ForwardingSystem {
    OSStatusCode GetProcessForPID(std::int32_t, ProcessSerialNumber&) override { return procNotFound; }
  } system;
  const System::Scope scope(system);
  EXPECT_FALSE(semaphore->writeProcessInfoAtURL(folder.url()));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(ProcessInfoFile, IsRemovedOnce) {
  ASSERT_TRUE(semaphore->writeProcessInfoAtURL(folder.url()));
  EXPECT_TRUE(semaphore->removeProcessInfoAtURL(folder.url()));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  EXPECT_FALSE(semaphore->removeProcessInfoAtURL(folder.url()));
}

TEST_F(ProcessInfoFile, MayBeInTheXMLForm) {
  test::writeFile(folder / fileName, R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>pid</key><integer>42</integer><key>bundleId</key><string>com.example</string></dict></plist>
)");
  const Ref<NSDictionary> record = asDictionary(semaphore->processInfoAtURL(folder.url()));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(asNumber(record->objectForKey("pid"_ns))->longLongValue(), 42);
  EXPECT_EQ(asString(record->objectForKey("bundleId"_ns))->bytes(), "com.example");
}

TEST_F(ProcessInfoFile, IsReturnedWhateverItHolds) {
  test::writeFile(folder / fileName, "(a, b)");
  EXPECT_NE(asArray(semaphore->processInfoAtURL(folder.url())), nullptr);
}

TEST_F(ProcessInfoFile, ThatIsLargerThanAMebibyteIsAbsent) {
  constexpr std::size_t kLargest = 1 << 20;
  std::string text = "<plist><dict><key>pid</key><integer>42</integer></dict></plist>";
  text.resize(kLargest, ' ');
  test::writeFile(folder / fileName, text);
  EXPECT_NE(semaphore->processInfoAtURL(folder.url()), nullptr);
  test::writeFile(folder / fileName, text + ' ');
  EXPECT_EQ(semaphore->processInfoAtURL(folder.url()), nullptr);
}

TEST_F(ProcessInfoFile, IsAbsentIfItIsMissingOrNotAPropertyList) {
  EXPECT_EQ(semaphore->processInfoAtURL(folder.url()), nullptr);
  test::writeFile(folder / fileName, "");
  EXPECT_EQ(semaphore->processInfoAtURL(folder.url()), nullptr);
  test::writeFile(folder / fileName, "bplist00 garbage");
  EXPECT_EQ(semaphore->processInfoAtURL(folder.url()), nullptr);
}

}  // namespace
}  // namespace zk
