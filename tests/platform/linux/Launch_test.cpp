#include "linux/Launch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "LaunchReport.h"
#include "support/ChildProcess.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

constexpr char kNoSignals[] = "0000000000000000";

/// Launches the reporting program, and waits for its report and its end.
Report reportOf(const std::vector<std::string>& furtherArguments = {}) {
  const TemporaryFolder folder;
  std::vector<std::string> arguments{folder / "report"};
  arguments.insert(arguments.end(), furtherArguments.begin(), furtherArguments.end());
  EXPECT_TRUE(launchDetached(kReportingProgram, arguments));
  EXPECT_EQ(::waitpid(-1, nullptr, 0) > 0 || errno == ECHILD, true);

  return readReport(folder / "report");
}

bool hasChildren() {
  siginfo_t info;
  return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

const auto kNullStreams = ElementsAre("0 /dev/null", "1 /dev/null", "2 /dev/null");

TEST(Launch, GivesTheProgramItsOwnPathAndTheArguments) {
  const Report report = reportOf({"-key", "a value", "", "-"});
  const std::vector<std::string>& arguments = report.at("argument");
  ASSERT_EQ(arguments.size(), 6U);
  EXPECT_EQ(arguments[0], kReportingProgram);
  EXPECT_EQ(std::vector<std::string>(arguments.begin() + 2, arguments.end()),
            (std::vector<std::string>{"-key", "a value", "", "-"}));
}

TEST(Launch, MakesANewSession) {
  const Report report = reportOf();
  EXPECT_EQ(only(report, "session"), only(report, "pid"));
  EXPECT_EQ(only(report, "group"), only(report, "pid"));
  EXPECT_NE(only(report, "session"), std::to_string(::getsid(0)));
}

TEST(Launch, StartsInTheRootFolder) { EXPECT_EQ(only(reportOf(), "folder"), "/"); }

TEST(Launch, KeepsTheEnvironment) {
  EXPECT_EQ(statusInChild([] {
              ::clearenv();
              ::setenv("ONE", "1", 1);
              ::setenv("TWO", "a=b", 1);
              const Report report = reportOf();
              EXPECT_THAT(report.at("environment"), ::testing::UnorderedElementsAre("ONE=1", "TWO=a=b"));
            }),
            0);
}

TEST(Launch, LeavesNothingOpenButTheNullDevice) {
  EXPECT_EQ(statusInChild([] {
              // Descriptors with gaps between them, up to the highest one possible.
              for (const int number : {3, 4, 9, 100, 1000}) ASSERT_EQ(::dup2(STDOUT_FILENO, number), number);
              rlimit limit;
              ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
              limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 65'536);
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
              const int highest = static_cast<int>(limit.rlim_cur) - 1;
              ASSERT_EQ(::dup2(STDOUT_FILENO, highest), highest);
              // Now some of them lie beyond the limit.
              limit.rlim_cur = 50;
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
              EXPECT_THAT(reportOf().at("descriptor"), kNullStreams);
            }),
            0);
}

TEST(Launch, OpensTheStandardStreamsEvenIfTheyAreClosed) {
  for (int closed = 1; closed < 8; ++closed) {
    EXPECT_EQ(statusInChild([closed] {
                for (int stream = 0; stream < 3; ++stream) {
                  if ((closed & (1 << stream)) != 0) ::close(stream);
                }
                EXPECT_THAT(reportOf().at("descriptor"), kNullStreams);
              }),
              0)
        << closed;
  }
}

TEST(Launch, GivesATaskAPipeAsItsStandardErrorWhateverIsOpenHere) {
  for (int closed = 0; closed < 16; ++closed) {
    EXPECT_EQ(statusInChild([closed] {
                for (int number = 0; number < 4; ++number) {
                  if ((closed & (1 << number)) != 0) ::close(number);
                }
                const TemporaryFolder folder;
                ASSERT_TRUE(launchTask(kReportingProgram, {folder / "report"}));
                ASSERT_GT(::waitpid(-1, nullptr, 0), 0);
                EXPECT_THAT(readReport(folder / "report").at("descriptor"),
                            ElementsAre("0 /dev/null", "1 /dev/null", ::testing::StartsWith("2 pipe:")));
              }),
              0)
        << closed;
  }
}

TEST(Launch, OpensTheStandardStreamsEvenIfTheLimitLeavesNoOtherDescriptor) {
  EXPECT_EQ(statusInChild([] {
              const TemporaryFolder folder;
              ChildProcess launching([&] {
                // Two of the five are for the pipe that the launch itself needs.
                const rlimit limit{5, 5};
                ::closefrom(3);
                ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
                EXPECT_TRUE(launchDetached(kReportingProgram, {folder / "report"}));
                ::waitpid(-1, nullptr, 0);
              });
              EXPECT_EQ(launching.wait(), 0);
              EXPECT_TRUE(fs::exists(folder / "report"));
            }),
            0);
}

TEST(Launch, ResetsTheSignals) {
  EXPECT_EQ(statusInChild([] {
              for (const int number : {SIGHUP, SIGPIPE, SIGXFSZ, SIGUSR1, SIGRTMAX}) ::signal(number, SIG_IGN);
              ::signal(SIGUSR2, [](int) {});
              sigset_t blocked;
              ::sigemptyset(&blocked);
              for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGRTMIN}) ::sigaddset(&blocked, number);
              ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
              ::raise(SIGTERM);  // stays pending forever

              const Report report = reportOf();
              for (const char* set : {"SigPnd", "ShdPnd", "SigBlk", "SigIgn", "SigCgt"}) {
                EXPECT_EQ(only(report, set), kNoSignals) << set;
              }
            }),
            0);
}

TEST(Launch, WorksEvenIfEndedChildrenAreNotKept) {
  EXPECT_EQ(statusInChild([] {
              ::signal(SIGCHLD, SIG_IGN);
              EXPECT_TRUE(launchDetached("/bin/true", {}));
              EXPECT_FALSE(launchDetached("/no such program", {}));
              const Report report = reportOf();
              EXPECT_EQ(only(report, "SigIgn"), kNoSignals);
            }),
            0);
}

TEST(Launch, DoesNotWaitForTheProgram) {
  const TemporaryFolder folder;
  const std::string fifo = folder / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(statusInChild([&fifo] {
              // It reads until the FIFO has had a writer, and ends by itself if there never is one.
              EXPECT_TRUE(launchDetached("/usr/bin/timeout", {"10", "/bin/cat", fifo}));
              siginfo_t info{};
              EXPECT_EQ(::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT), 0);
              ASSERT_EQ(info.si_pid, 0) << "it has ended already";
              ::close(::open(fifo.c_str(), O_WRONLY));
              ::waitpid(-1, nullptr, 0);
            }),
            0);
}

TEST(Launch, LeavesNoDescriptorOpenHere) {
  const auto count = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()); };
  const auto before = count();
  EXPECT_FALSE(launchDetached("/no such program", {}));
  reportOf();
  EXPECT_EQ(count(), before);
}

/// Expects that the launch fails and leaves no process behind.
void expectRefused(const fs::path& path) {
  ASSERT_FALSE(hasChildren());
  EXPECT_FALSE(launchDetached(path, {"argument"})) << path;
  EXPECT_FALSE(hasChildren()) << path;
}

TEST(Launch, RefusesAMissingProgram) {
  const TemporaryFolder folder;
  expectRefused(folder / "missing");
  expectRefused("");
}

TEST(Launch, RefusesAFileThatIsNotExecutable) {
  const TemporaryFolder folder;
  writeFile(folder / "file", "#!/bin/sh\n");
  expectRefused(folder / "file");
}

TEST(Launch, RefusesAFolder) {
  const TemporaryFolder folder;
  expectRefused(folder.path());
}

TEST(Launch, RefusesAFileThatIsNotAProgram) {
  const TemporaryFolder folder;
  writeScript(folder / "text", "true\n");
  expectRefused(folder / "text");
  writeScript(folder / "empty", "");
  expectRefused(folder / "empty");
  writeScript(folder / "half a program", readFile(kReportingProgram).substr(0, 100));
  expectRefused(folder / "half a program");
}

TEST(Launch, RefusesAScriptWithoutItsInterpreter) {
  const TemporaryFolder folder;
  writeScript(folder / "script", "#!/no such interpreter\n");
  expectRefused(folder / "script");
}

TEST(Launch, RunsAScript) {
  const TemporaryFolder folder;
  writeScript(folder / "script", "#!/bin/sh\necho \"$1\" > \"$2\"\n");
  EXPECT_TRUE(launchDetached(folder / "script", {"a word", folder / "output"}));
  ::waitpid(-1, nullptr, 0);
  EXPECT_EQ(readFile(folder / "output"), "a word\n");
}

TEST(Launch, FailsIfNoProcessCanBeMade) {
  EXPECT_EQ(statusInChild([] {
              // Root's own processes are not counted.
              if (::geteuid() == 0) {
                ASSERT_EQ(::setresuid(65534, 65534, 65534), 0);
              }
              const rlimit none{0, 0};
              ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
              EXPECT_FALSE(launchDetached("/bin/true", {}));
            }),
            0);
}

TEST(Launch, FailsWithoutADescriptorForTheReport) {
  EXPECT_EQ(statusInChild([] {
              const rlimit none{0, 0};
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
              EXPECT_FALSE(launchDetached("/bin/true", {}));
              EXPECT_FALSE(hasChildren());
            }),
            0);
}

TEST(Launch, StartsNothingThatItCouldNotReport) {
  const TemporaryFolder folder;
  EXPECT_EQ(statusInChild([&folder] {
              ASSERT_TRUE(refuseSystemCall(SYS_write, ENOMEM));
              EXPECT_FALSE(launchDetached("/usr/bin/touch", {folder / "started"}));
              EXPECT_FALSE(hasChildren());
            }),
            0);
  EXPECT_FALSE(fs::exists(folder / "started"));
}

TEST(Launch, FailsIfDescriptorsCannotBeClosed) {
  const int status = statusInChild([] {
    if (!enterOwnMounts() || ::mount("none", "/proc", "tmpfs", 0, nullptr) != 0) ::_exit(kNotPermitted);
    ASSERT_TRUE(refuseSystemCall(SYS_close_range, ENOSYS));
    EXPECT_FALSE(launchDetached("/bin/true", {}));
    EXPECT_FALSE(hasChildren());
  });
  if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
  EXPECT_EQ(status, 0);
}

TEST(Launch, ClosesDescriptorsOneByOneIfTheKernelCannotCloseThemAll) {
  EXPECT_EQ(statusInChild([] {
              for (const int number : {4, 9, 1000}) ASSERT_EQ(::dup2(STDOUT_FILENO, number), number);
              ASSERT_TRUE(refuseSystemCall(SYS_close_range, ENOSYS));
              EXPECT_THAT(reportOf().at("descriptor"), kNullStreams);
            }),
            0);
}

TEST(Launch, FailsWithoutANullDevice) {
  const int status = statusInChild([] {
    if (!enterOwnMounts() || ::mount("none", "/dev", "tmpfs", 0, nullptr) != 0) ::_exit(kNotPermitted);
    EXPECT_FALSE(launchDetached("/bin/true", {}));
    EXPECT_FALSE(hasChildren());
  });
  if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
  EXPECT_EQ(status, 0);
}

}  // namespace

}  // namespace zk::test
