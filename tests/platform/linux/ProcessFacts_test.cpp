#include "linux/ProcessFacts.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "TestProcesses.h"
#include "linux/LaunchStamp.h"
#include "linux/ProcFile.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnMounts.h"
#include "system/Port.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

constexpr char kCat[] = "/bin/cat";

void expectExecutable(pid_t pid, const fs::path& path, bool isReplaced) {
  const std::optional<Executable> executable = executableOf(pid);
  ASSERT_TRUE(executable);
  EXPECT_EQ(executable->path, path);
  EXPECT_EQ(executable->isReplaced, isReplaced);
}

/// A standard input on which `cat` waits as long as the object lives.
class WaitingInput {
 public:
  WaitingInput() { EXPECT_EQ(::pipe2(ends_, O_CLOEXEC), 0); }
  ~WaitingInput() {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }
  WaitingInput(const WaitingInput&) = delete;
  WaitingInput& operator=(const WaitingInput&) = delete;

  [[noreturn]] void becomeProgram(const fs::path& path, const char* shownName) const {
    ::dup2(ends_[0], STDIN_FILENO);
    ::execl(path.c_str(), shownName, static_cast<char*>(nullptr));
    ::_exit(127);
  }

 private:
  int ends_[2];
};

TEST(ExecutableOfAProcess, IsTheFileThatItWasStartedFrom) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  expectExecutable(process.pid(), folder / "program", false);
}

TEST(ExecutableOfAProcess, IsTheTargetOfALinkThatWasStarted) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  fs::create_symlink("program", folder / "link");
  const RunningProgram process(folder / "link");
  expectExecutable(process.pid(), folder / "program", false);
}

TEST(ExecutableOfAProcess, HasItsNewPathAfterItWasMoved) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  fs::rename(folder / "program", folder / "elsewhere");
  expectExecutable(process.pid(), folder / "elsewhere", false);
}

TEST(ExecutableOfAProcess, KeepsItsOldPathAfterItWasDeleted) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  fs::remove(folder / "program");
  expectExecutable(process.pid(), folder / "program", true);
}

TEST(ExecutableOfAProcess, KeepsItsOldPathIfAnotherFileIsThere) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  fs::remove(folder / "program");
  copyProgram(kCat, folder / "program");
  expectExecutable(process.pid(), folder / "program", true);
}

TEST(ExecutableOfAProcess, KeepsANameThatEndsLikeTheNoteOnADeletedFile) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program (deleted)");
  const RunningProgram process(folder / "program (deleted)");
  expectExecutable(process.pid(), folder / "program (deleted)", false);
  fs::remove(folder / "program (deleted)");
  expectExecutable(process.pid(), folder / "program (deleted)", true);
}

TEST(ExecutableOfAProcess, IsNotConfusedWithAFileWhoseNameHasTheNote) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const RunningProgram process(folder / "program");
  fs::remove(folder / "program");
  copyProgram(kCat, folder / "program (deleted)");
  expectExecutable(process.pid(), folder / "program", true);
}

TEST(ExecutableOfAProcess, IsReplacedIfSomethingIsMountedOverIt) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const int status = statusInChild([&folder] {
    if (!enterOwnMounts()) ::_exit(kNotPermitted);
    const RunningProgram process(folder / "program");
    ASSERT_EQ(::mount("none", folder.path().c_str(), "tmpfs", 0, nullptr), 0);
    expectExecutable(process.pid(), folder / "program", true);
  });
  if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
  EXPECT_EQ(status, 0);
}

TEST(ExecutableOfAProcess, KeepsBytesThatAreNotUTF8) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "pro\xFFgram\n");
  const RunningProgram process(folder / "pro\xFFgram\n");
  expectExecutable(process.pid(), folder / "pro\xFFgram\n", false);
}

TEST(ExecutableOfAProcess, IsKnownThoughTheFirstThreadHasEnded) {
  const auto process = makeProcessWithoutFirstThread();
  expectExecutable(process->pid(), port::programPath(), false);
}

TEST(ExecutableOfAProcess, IsUnknownForAZombieAndForNoProcess) {
  EXPECT_FALSE(executableOf(makeZombie()->pid()));
  EXPECT_FALSE(executableOf(idOfEndedProcess()));
  EXPECT_FALSE(executableOf(0));
  EXPECT_FALSE(executableOf(-1));
}

TEST(ExecutableOfAProcess, IsUnknownForAKernelThread) {
  if (readProcFile("/proc/2/comm") != "kthreadd\n") GTEST_SKIP() << "No kernel thread can be seen here.";
  EXPECT_FALSE(executableOf(2));
}

TEST(ExecutableOfAProcess, DoesNotComeFromWhatTheProcessShows) {
  const TemporaryFolder folder;
  copyProgram(kCat, folder / "program");
  const WaitingInput input;
  const ChildProcess process(
      [&](const ChildProcess::TellReady&) { input.becomeProgram(folder / "program", "/bin/another"); });
  EXPECT_THAT(shownArgumentsOf(process.pid()), ElementsAre("/bin/another"));
  expectExecutable(process.pid(), folder / "program", false);
}

TEST(ProgramPath, IsTheTestsOwn) {
  const std::string path = port::programPath();
  EXPECT_TRUE(fs::equivalent(path, "/proc/self/exe")) << path;
}

TEST(ShownArguments, AreThoseThatTheProcessWasStartedWith) {
  const RunningProgram process(kCat, {"-", "", "a b", "\xFF"});
  EXPECT_THAT(shownArgumentsOf(process.pid()), ElementsAre(kCat, "-", "", "a b", "\xFF"));
}

TEST(ShownArguments, AreKnownThoughTheFirstThreadHasEnded) {
  const auto process = makeProcessWithoutFirstThread();
  EXPECT_EQ(shownArgumentsOf(process->pid()), shownArgumentsOf(::getpid()));
  EXPECT_FALSE(shownArgumentsOf(process->pid()).empty());
}

TEST(ShownArguments, AreNoneForAZombieAndForNoProcess) {
  EXPECT_THAT(shownArgumentsOf(makeZombie()->pid()), ElementsAre());
  EXPECT_THAT(shownArgumentsOf(idOfEndedProcess()), ElementsAre());
}

TEST(CurrentFolderOfAProcess, IsWhereItsRelativePathsStart) {
  const TemporaryFolder folder;
  const RunningProgram process(kCat, {}, folder.path());
  EXPECT_EQ(currentFolderOf(process.pid()), folder.path());
}

TEST(CurrentFolderOfAProcess, IsKnownThoughTheFirstThreadHasEnded) {
  EXPECT_EQ(currentFolderOf(makeProcessWithoutFirstThread()->pid()), fs::current_path());
}

TEST(CurrentFolderOfAProcess, IsUnknownForNoProcess) { EXPECT_FALSE(currentFolderOf(idOfEndedProcess())); }

std::string startTimeOf(pid_t pid) {
  return statField(readProcFile(procFolder(pid) + "/stat").value(), kStatStartTime).value();
}

/// A process that started later than the process `pid` by the system's clock.
std::unique_ptr<ChildProcess> makeLaterProcess(pid_t pid) {
  auto later = makeWaitingProcess();
  while (startTimeOf(later->pid()) == startTimeOf(pid)) later = makeWaitingProcess();
  return later;
}

TEST(LaunchStamp, StaysTheSame) {
  const auto process = makeWaitingProcess();
  const std::optional<std::uint32_t> stamp = port::launchStampOf(process->pid());
  ASSERT_TRUE(stamp);
  makeLaterProcess(process->pid());
  EXPECT_EQ(port::launchStampOf(process->pid()), stamp);
}

TEST(LaunchStamp, StaysTheSameWhenTheProcessBecomesAnotherProgram) {
  const TemporaryFolder folder;
  const WaitingInput input;
  const ChildProcess process([&](const ChildProcess::TellReady&) {
    writeFile(folder / "stamp", std::to_string(port::launchStampOf(::getpid()).value()));
    makeLaterProcess(::getpid());
    input.becomeProgram(kCat, kCat);
  });
  EXPECT_EQ(shownArgumentsOf(process.pid()), std::vector<std::string>{kCat});
  EXPECT_EQ(std::to_string(port::launchStampOf(process.pid()).value()), readFile(folder / "stamp"));
}

TEST(LaunchStamp, StaysTheSameWhenTheFirstThreadHasEnded) {
  const auto process = makeProcessWithoutFirstThread();
  const std::optional<std::uint32_t> stamp = port::launchStampOf(process->pid());
  ASSERT_TRUE(stamp);
  EXPECT_EQ(port::launchStampOf(process->pid()), stamp);
}

TEST(LaunchStamp, DiffersForProcessesStartedAtDifferentTimes) {
  const auto first = makeWaitingProcess();
  const auto second = makeLaterProcess(first->pid());
  EXPECT_NE(port::launchStampOf(first->pid()), port::launchStampOf(second->pid()));
}

TEST(LaunchStamp, DiffersForAnyTwoTimesOfOneBoot) {
  constexpr std::string_view kBoot = "6b1ba1ff-8c09-4d42-a0dc-8e1d8b6e8a1b\n";
  std::set<std::uint32_t> stamps;
  for (std::uint64_t ticks = 0; ticks < 10'000; ++ticks) stamps.insert(launchStamp(kBoot, ticks));
  EXPECT_EQ(stamps.size(), 10'000U);
  // The time itself is added, so that no two times below 2^32 give the same stamp.
  EXPECT_EQ(launchStamp(kBoot, 0xFFFFFFFF) - launchStamp(kBoot, 0), 0xFFFFFFFFU);
  EXPECT_EQ(launchStamp(kBoot, 0x100000001), launchStamp(kBoot, 1));
}

TEST(LaunchStamp, DiffersBetweenBoots) { EXPECT_NE(launchStamp("one boot", 1), launchStamp("another boot", 1)); }

TEST(LaunchStamp, IsMadeOfTheBootIdAndTheStartTime) {
  const auto process = makeWaitingProcess();
  const std::string boot = readProcFile("/proc/sys/kernel/random/boot_id").value();
  const std::string ticks = statField(readProcFile(procFolder(process->pid()) + "/stat").value(), 22).value();
  EXPECT_EQ(port::launchStampOf(process->pid()), launchStamp(boot, std::stoull(ticks)));
}

TEST(LaunchStamp, IsUnknownForNoProcess) {
  EXPECT_FALSE(port::launchStampOf(idOfEndedProcess()));
  EXPECT_FALSE(port::launchStampOf(0));
  EXPECT_FALSE(port::launchStampOf(-1));
}

}  // namespace

}  // namespace zk::test
