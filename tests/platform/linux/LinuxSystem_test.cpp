#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <thread>

#include "TestProcesses.h"
#include "linux/ProcFile.h"
#include "linux/ProcessFacts.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "system/Port.h"
#include "system/System.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kCat[] = "/bin/cat";

OSStatusCode statusOf(std::int32_t pid) {
  ProcessSerialNumber process;
  return System::current().GetProcessForPID(pid, process);
}

Ref<NSDictionary> informationOf(std::int32_t pid) {
  return System::current().ProcessInformationCopyDictionary({pid}, kProcessDictionaryIncludeAllInformationMask);
}

std::string textIn(const Ref<NSDictionary>& information, const Ref<NSString>& key) {
  const Ref<NSString> text = asString(information->objectForKey(key));
  return text ? text->bytes() : "(none)";
}

void writeApplication(const fs::path& app) {
  writeFile(app / "Contents/Info.plist",
            "<plist><dict><key>CFBundleIdentifier</key><string>com.example.x</string></dict></plist>");
  copyProgram(kCat, app / "Contents/MacOS/X");
}

TEST(ProcessManager, GivesTheSerialNumberOfARunningProcess) {
  ProcessSerialNumber process;
  EXPECT_EQ(System::current().GetProcessForPID(::getpid(), process), noErr);
  EXPECT_EQ(process.pid, ::getpid());
}

TEST(ProcessManager, DoesNotFindAProcessThatHasEnded) {
  EXPECT_EQ(statusOf(idOfEndedProcess()), procNotFound);
  EXPECT_EQ(statusOf(makeZombie()->pid()), procNotFound);
  EXPECT_EQ(statusOf(0), procNotFound);
  EXPECT_EQ(statusOf(-1), procNotFound);
}

TEST(ProcessManager, ReportsThatItCannotFindOut) {
  EXPECT_EQ(statusInChild([] {
              const rlimit none{0, 0};
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
              const OSStatusCode status = statusOf(::getppid());
              EXPECT_NE(status, noErr);
              EXPECT_NE(status, procNotFound);
            }),
            0);
}

TEST(ProcessManager, ReportsAllThatItKnowsAboutAProcess) {
  const TemporaryFolder folder;
  writeApplication(folder / "X.app");
  const RunningProgram process(folder / "X.app/Contents/MacOS/X");
  const Ref<NSDictionary> information = informationOf(process.pid());
  ASSERT_TRUE(information);
  EXPECT_EQ(textIn(information, ZKBundlePathKey), folder / "X.app");
  EXPECT_EQ(textIn(information, kCFBundleIdentifierKey), "com.example.x");
  EXPECT_EQ(textIn(information, kCFBundleExecutableKey), folder / "X.app/Contents/MacOS/X");
  EXPECT_EQ(information->count(), 3U);
}

TEST(ProcessManager, NotesThatTheExecutableWasReplaced) {
  const TemporaryFolder folder;
  writeApplication(folder / "X.app");
  const RunningProgram process(folder / "X.app/Contents/MacOS/X");
  fs::remove(folder / "X.app/Contents/MacOS/X");
  const Ref<NSDictionary> information = informationOf(process.pid());
  ASSERT_TRUE(information);
  EXPECT_EQ(textIn(information, ZKBundlePathKey), folder / "X.app");
  EXPECT_EQ(textIn(information, kCFBundleIdentifierKey), "com.example.x");
  EXPECT_EQ(textIn(information, kCFBundleExecutableKey), folder / "X.app/Contents/MacOS/X");
  EXPECT_TRUE(information->objectForKey(ZKBundleMayChangeKey));
}

TEST(ProcessManager, NotesThatTheBundleWasFoundThroughTheArguments) {
  const TemporaryFolder folder;
  writeApplication(folder / "X.app");
  writeScript(folder / "X.app/Contents/MacOS/X", "#!/bin/sh\nread line\n");
  const RunningProgram process(folder / "X.app/Contents/MacOS/X");
  const Ref<NSDictionary> information = informationOf(process.pid());
  ASSERT_TRUE(information);
  EXPECT_EQ(textIn(information, ZKBundlePathKey), folder / "X.app");
  EXPECT_EQ(textIn(information, kCFBundleIdentifierKey), "com.example.x");
  EXPECT_EQ(textIn(information, kCFBundleExecutableKey), fs::canonical("/bin/sh"));
  EXPECT_TRUE(information->objectForKey(ZKBundleMayChangeKey));
}

TEST(ProcessManager, KnowsOnlyTheExecutableOfAProcessOutsideAnyBundle) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  const Ref<NSDictionary> information = informationOf(process.pid());
  ASSERT_TRUE(information);
  EXPECT_EQ(textIn(information, kCFBundleExecutableKey), folder / "program");
  EXPECT_EQ(information->count(), 1U);
}

TEST(ProcessManager, KnowsNoIdentifierIfTheBundleHasNone) {
  const TemporaryFolder folder;
  writeApplication(folder / "X.app");
  writeFile(folder / "X.app/Contents/Info.plist", "no property list at all: {");
  const RunningProgram process(folder / "X.app/Contents/MacOS/X");
  const Ref<NSDictionary> information = informationOf(process.pid());
  ASSERT_TRUE(information);
  EXPECT_EQ(textIn(information, ZKBundlePathKey), folder / "X.app");
  EXPECT_FALSE(information->objectForKey(kCFBundleIdentifierKey));
}

TEST(ProcessManager, KnowsOnlyThatAKernelThreadExists) {
  if (readProcFile("/proc/2/comm") != "kthreadd\n") GTEST_SKIP() << "No kernel thread can be seen here.";
  const Ref<NSDictionary> information = informationOf(2);
  ASSERT_TRUE(information);
  EXPECT_EQ(information->count(), 0U);
}

TEST(ProcessManager, HasNoInformationAboutAProcessThatHasEnded) {
  EXPECT_FALSE(informationOf(idOfEndedProcess()));
  EXPECT_FALSE(informationOf(makeZombie()->pid()));
}

TEST(ProcessManager, GivesTheLaunchStamp) {
  const auto process = makeWaitingProcess();
  ProcessInfoRec info;
  info.processInfoLength = sizeof info;
  ASSERT_EQ(System::current().GetProcessInformation({process->pid()}, info), noErr);
  EXPECT_EQ(info.processLaunchDate, port::launchStampOf(process->pid()));
  EXPECT_EQ(info.processInfoLength, sizeof info);
}

TEST(ProcessManager, HasNoLaunchStampForAProcessThatHasEnded) {
  ProcessInfoRec info;
  info.processInfoLength = sizeof info;
  EXPECT_NE(System::current().GetProcessInformation({idOfEndedProcess()}, info), noErr);
  EXPECT_EQ(info.processLaunchDate, 0U);
}

TEST(ProcessManager, GivesTheIdOfTheCallingProcess) { EXPECT_EQ(System::current().getpid(), ::getpid()); }

TEST(ThreadId, IsTheProcessIdInTheFirstThreadAndAnotherInOthers) {
  EXPECT_EQ(port::currentThreadId(), ::getpid());
  long other = 0;
  std::thread([&other] { other = port::currentThreadId(); }).join();
  EXPECT_NE(other, ::getpid());
  EXPECT_GT(other, 0);
}

}  // namespace

}  // namespace zk::test
