#include "process/ProcessStart.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "process/HeldBackSignals.h"
#include "process/POSIXSystem.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "system/Port.h"

namespace zk::test {

namespace {

char programName[] = "program";
char* noArguments[] = {programName, nullptr};

void start() { startProcess(1, noArguments); }

bool isNullDevice(int descriptor) {
  struct stat file {};
  struct stat null {};
  return ::fstat(descriptor, &file) == 0 && ::stat("/dev/null", &null) == 0 && S_ISCHR(file.st_mode) &&
         file.st_rdev == null.st_rdev;
}

void (*actionOf(int number))(int) {
  struct sigaction action {};
  ::sigaction(number, nullptr, &action);
  return action.sa_handler;
}

bool isMaskEmpty() {
  sigset_t set;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &set);
  for (int number = 1; number <= port::highestSignalNumber(); ++number) {
    if (sigismember(&set, number) == 1) return false;
  }
  return true;
}

void blockAll() {
  sigset_t all;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

TEST(ProcessStart, OpensClosedStandardDescriptorsOnTheNullDevice) {
  for (int closed = 1; closed < 8; ++closed) {
    EXPECT_EQ(statusInChild([closed] {
                const auto isClosed = [closed](int stream) { return (closed & (1 << stream)) != 0; };
                for (int stream = 0; stream < 3; ++stream) {
                  if (isClosed(stream)) ::close(stream);
                }
                start();
                for (int stream = 0; stream < 3; ++stream) {
                  if (isClosed(stream)) {
                    EXPECT_TRUE(isNullDevice(stream)) << stream;
                  }
                }
                // The next descriptor is not one of them.
                const int next = ::open("/dev/null", O_RDONLY);
                EXPECT_GT(next, STDERR_FILENO);
              }),
              0)
        << closed;
  }
}

TEST(ProcessStart, LeavesOpenStandardDescriptorsAlone) {
  const TemporaryFolder folder;
  EXPECT_EQ(statusInChild([&folder] {
              for (int stream = 0; stream < 3; ++stream) {
                const int file = ::open((folder / std::to_string(stream)).c_str(), O_RDWR | O_CREAT, 0666);
                ::dup2(file, stream);
                ::close(file);
              }
              start();
              for (int stream = 0; stream < 3; ++stream) EXPECT_FALSE(isNullDevice(stream)) << stream;
            }),
            0);
}

TEST(ProcessStart, LeavesNoFurtherDescriptorOpen) {
  EXPECT_EQ(statusInChild([] {
              const int before = ::dup(STDIN_FILENO);
              ::close(before);
              start();
              EXPECT_EQ(::dup(STDIN_FILENO), before);
            }),
            0);
}

TEST(ProcessStart, ResetsSignalsThatWereIgnoredOrHandled) {
  EXPECT_EQ(statusInChild([] {
              for (int number = 1; number <= port::highestSignalNumber(); ++number) ::signal(number, SIG_IGN);
              ::signal(SIGUSR1, [](int) {});
              start();
              for (int number = 1; number <= port::highestSignalNumber(); ++number) {
                const bool isOutlived = number == SIGHUP || number == SIGPIPE || number == SIGXFSZ;
                EXPECT_EQ(actionOf(number), isOutlived ? SIG_IGN : SIG_DFL) << number;
              }
            }),
            0);
}

TEST(ProcessStart, EmptiesTheSignalMask) {
  EXPECT_EQ(statusInChild([] {
              blockAll();
              start();
              EXPECT_TRUE(isMaskEmpty());
            }),
            0);
}

TEST(ProcessStart, OutlivesItsTerminalItsReadersAndAFileThatGrowsTooLarge) {
  EXPECT_EQ(statusInChild([] {
              start();
              for (const int number : {SIGHUP, SIGPIPE, SIGXFSZ}) ::raise(number);
            }),
            0);
}

TEST(ProcessStart, DropsAHangUpThatCameBefore) {
  EXPECT_EQ(statusInChild([] {
              blockAll();
              ::raise(SIGHUP);
              start();
            }),
            0);
}

TEST(ProcessStart, IsEndedByATerminationSignalThatCameBefore) {
  EXPECT_EQ(statusInChild([] {
              blockAll();
              ::raise(SIGTERM);
              start();
            }),
            kEndedBySignal + SIGTERM);
}

TEST(ProcessStart, HoldsSignalsBackFromTheFirstThingHeld) {
  EXPECT_EQ(statusInChild([] {
              start();
              EXPECT_TRUE(HeldBackSignals::mayEndProcess());
              HeldBackSignals::holdBack();
              ::raise(SIGTERM);
            }),
            0);
}

TEST(ProcessStart, RemembersTheArguments) {
  EXPECT_EQ(statusInChild([] {
              char key[] = "-key";
              char value[] = "";
              char* arguments[] = {programName, key, value, nullptr};
              startProcess(3, arguments);
              EXPECT_EQ(System::current().arguments(), (std::vector<std::string>{"program", "-key", ""}));
            }),
            0);
}

TEST(ProcessStart, CopesWithoutAnyArgument) {
  EXPECT_EQ(statusInChild([] {
              char* arguments[] = {nullptr};
              startProcess(0, arguments);
              EXPECT_TRUE(System::current().arguments().empty());
            }),
            0);
}

TEST(ResetSignals, DropsPendingSignals) {
  EXPECT_EQ(statusInChild([] {
              blockAll();
              for (const int number : {SIGTERM, SIGHUP, SIGUSR1, port::highestSignalNumber()}) ::raise(number);
              resetSignals();
              EXPECT_TRUE(isMaskEmpty());
              EXPECT_EQ(actionOf(SIGTERM), SIG_DFL);
            }),
            0);
}

}  // namespace

}  // namespace zk::test
