#include "linux/ProcessExistence.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <ostream>

#include "TestProcesses.h"
#include "linux/ProcFile.h"
#include "support/FrequentAlarm.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"

namespace zk::port {

/// For test output.
std::ostream& operator<<(std::ostream& out, Existence existence) {
  constexpr const char* kNames[] = {"exists", "gone", "unknown"};
  return out << kNames[static_cast<int>(existence)];
}

}  // namespace zk::port

namespace zk::test {

namespace {

using port::Existence;

/// A way to get the answer.
struct Way {
  const char* name;
  Existence (*ask)(std::int32_t pid);
  long refusedCall;  ///< 0: none
  int error;
};

std::ostream& operator<<(std::ostream& out, const Way& way) { return out << way.name; }

constexpr Way kWays[] = {
    {"ByProcessDescriptor", port::existenceOf, 0, 0},
    {"ByProc", existenceByProc, 0, 0},
    {"WhereTheKernelHasNoProcessDescriptors", port::existenceOf, SYS_pidfd_open, ENOSYS},
    {"WhereAFilterRefusesProcessDescriptors", port::existenceOf, SYS_pidfd_open, EPERM},
#ifdef SYS_poll
    {"WhereAFilterRefusesToPoll", port::existenceOf, SYS_poll, EPERM},
#endif
};

/// Every answer must be the same in each of these ways.
class ProcessExistence : public ::testing::TestWithParam<Way> {
 protected:
  static Existence ask(std::int32_t pid) { return GetParam().ask(pid); }

  static void inThisWay(const std::function<void()>& body) {
    if (GetParam().refusedCall == 0) return body();
    EXPECT_EQ(statusInChild([&body] {
                ASSERT_TRUE(refuseSystemCall(GetParam().refusedCall, GetParam().error));
                body();
              }),
              0);
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, ProcessExistence, ::testing::ValuesIn(kWays),
                         [](const ::testing::TestParamInfo<Way>& way) { return std::string(way.param.name); });

void becomeNobody() {
  if (::geteuid() != 0) return;
  ASSERT_EQ(::setresgid(kNobody, kNobody, kNobody), 0);
  ASSERT_EQ(::setresuid(kNobody, kNobody, kNobody), 0);
}

TEST_P(ProcessExistence, TheCallingProcessExists) {
  inThisWay([] { EXPECT_EQ(ask(::getpid()), Existence::exists); });
}

TEST_P(ProcessExistence, ARunningProcessExists) {
  inThisWay([] {
    const auto process = makeWaitingProcess();
    EXPECT_EQ(ask(process->pid()), Existence::exists);
  });
}

TEST_P(ProcessExistence, AStoppedProcessExists) {
  inThisWay([] {
    const auto process = makeWaitingProcess();
    process->signal(SIGSTOP);
    EXPECT_EQ(ask(process->pid()), Existence::exists);
  });
}

TEST_P(ProcessExistence, AReapedProcessIsGone) {
  inThisWay([] { EXPECT_EQ(ask(idOfEndedProcess()), Existence::gone); });
}

TEST_P(ProcessExistence, AZombieIsGone) {
  inThisWay([] {
    const auto process = makeZombie();
    EXPECT_EQ(ask(process->pid()), Existence::gone);
  });
}

TEST_P(ProcessExistence, AProcessExistsUntilItsLastThreadHasEnded) {
  inThisWay([] {
    const auto process = makeProcessWithoutFirstThread();
    EXPECT_EQ(ask(process->pid()), Existence::exists);
    process->signal(SIGKILL);
    process->waitUntilZombie();
    EXPECT_EQ(ask(process->pid()), Existence::gone);
  });
}

TEST_P(ProcessExistence, AThreadIsNotAProcess) {
  inThisWay([] {
    const auto process = makeProcessWithoutFirstThread();
    const int thread = idOfOtherThread(process->pid());
    ASSERT_NE(thread, 0);
    EXPECT_EQ(ask(thread), Existence::gone);
  });
}

TEST_P(ProcessExistence, AnotherUsersProcessExists) {
  inThisWay([] {
    EXPECT_EQ(statusInChild([] {
                becomeNobody();
                EXPECT_EQ(ask(1), Existence::exists);
              }),
              0);
  });
}

TEST_P(ProcessExistence, AKernelThreadExists) {
  if (readProcFile("/proc/2/comm") != "kthreadd\n") GTEST_SKIP() << "No kernel thread can be seen here.";
  inThisWay([] { EXPECT_EQ(ask(2), Existence::exists); });
}

TEST_P(ProcessExistence, ZeroAndNegativeIdsNameNoProcess) {
  inThisWay([] {
    for (const std::int32_t pid : {0, -1, -::getpid(), -::getpgrp(), std::numeric_limits<std::int32_t>::min()}) {
      EXPECT_EQ(ask(pid), Existence::gone) << pid;
    }
  });
}

TEST_P(ProcessExistence, AnImpossibleIdNamesNoProcess) {
  inThisWay([] { EXPECT_EQ(ask(std::numeric_limits<std::int32_t>::max()), Existence::gone); });
}

TEST_P(ProcessExistence, IsLookedUpAfreshEachTime) {
  inThisWay([] {
    ChildProcess process([](const ChildProcess::TellReady& tellReady) {
      tellReady();
      ::pause();
    });
    EXPECT_EQ(ask(process.pid()), Existence::exists);
    process.signal(SIGKILL);
    process.wait();
    EXPECT_EQ(ask(process.pid()), Existence::gone);
  });
}

TEST_P(ProcessExistence, IsUnknownWithoutADescriptor) {
  EXPECT_EQ(statusInChild([] {
              const pid_t parent = ::getppid();
              const rlimit none{0, 0};
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
              EXPECT_EQ(ask(parent), Existence::unknown);
            }),
            0);
}

/// Kernels differ in how they report that an id is a thread's.
TEST(ProcessExistenceOfAThread, IsRuledOutWithoutADescriptor) {
  const auto process = makeProcessWithoutFirstThread();
  const int thread = idOfOtherThread(process->pid());
  for (const int error : {ENOENT, EINVAL}) {
    EXPECT_EQ(statusInChild([&] {
                ASSERT_TRUE(refuseSystemCall(SYS_pidfd_open, error));
                const rlimit none{0, 0};
                ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
                EXPECT_EQ(port::existenceOf(thread), Existence::gone);
              }),
              0)
        << error;
  }
}

TEST_P(ProcessExistence, IsKnownAtAnyMomentWhileAProcessEnds) {
  inThisWay([] {
    ::signal(SIGCHLD, SIG_IGN);  // children vanish at once, without a wait
    for (int count = 0; count < 200; ++count) {
      const pid_t pid = ::fork();
      if (pid == 0) ::_exit(0);
      Existence existence;
      while ((existence = ask(pid)) == Existence::exists) {
      }
      ASSERT_EQ(existence, Existence::gone);
    }
    ::signal(SIGCHLD, SIG_DFL);
  });
}

TEST_P(ProcessExistence, LeavesNoDescriptorOpen) {
  inThisWay([] {
    const auto openDescriptors = [] {
      return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
    };
    const auto process = makeWaitingProcess();
    const auto before = openDescriptors();
    ask(process->pid());
    ask(idOfEndedProcess());
    EXPECT_EQ(openDescriptors(), before);
  });
}

TEST_P(ProcessExistence, AHiddenProcessExists) {
  const auto hidden = makeProcessWithoutFirstThread();
  const int hiddenThread = idOfOtherThread(hidden->pid());
  const int ended = idOfEndedProcess();
  const auto body = [&] {
    if (!enterOwnMounts() || ::mount("proc", "/proc", "proc", 0, "hidepid=2") != 0) ::_exit(kNotPermitted);
    becomeNobody();
    ASSERT_FALSE(std::filesystem::exists(procFolder(hidden->pid())));
    inThisWay([&] {
      EXPECT_EQ(ask(hidden->pid()), Existence::exists);
      EXPECT_EQ(ask(hiddenThread), Existence::gone);
      EXPECT_EQ(ask(ended), Existence::gone);
    });
  };
  const int status = statusInChild(body);
  if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
  EXPECT_EQ(status, 0);
}

TEST_P(ProcessExistence, NeedsNoProcFileSystem) {
  const auto process = makeWaitingProcess();
  const int ended = idOfEndedProcess();
  const int status = statusInChild([&] {
    if (!enterOwnMounts() || ::mount("none", "/proc", "tmpfs", 0, nullptr) != 0) ::_exit(kNotPermitted);
    inThisWay([&] {
      EXPECT_EQ(ask(process->pid()), Existence::exists);
      EXPECT_EQ(ask(ended), Existence::gone);
    });
  });
  if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
  EXPECT_EQ(status, 0);
}

TEST_P(ProcessExistence, IsNotDisturbedBySignals) {
  inThisWay([] {
    const FrequentAlarm alarm(20);
    for (int count = 0; count < 1'000; ++count) ASSERT_EQ(ask(::getpid()), Existence::exists);
  });
}

}  // namespace

}  // namespace zk::test
