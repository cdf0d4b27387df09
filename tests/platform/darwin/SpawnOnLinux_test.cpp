#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "darwin/Spawn.h"
#include "platform/linux/LaunchReport.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

namespace {

using darwin::runToSuccess;
using ::testing::Contains;
using ::testing::ElementsAre;

/// Two signals that the C library of Linux keeps to itself.
constexpr unsigned long long kOwnSignals = 0x180000000;

/// Runs the reporting program, and reads its report.
Report reportOf(char* const* environment = environ) {
  const TemporaryFolder folder;
  EXPECT_TRUE(runToSuccess(kReportingProgram, {folder / "report", "-key", "a value", "", "-"}, environment));
  return readReport(folder / "report");
}

TEST(Spawn, GivesTheProgramItsPathAndTheArguments) {
  const std::vector<std::string> arguments = reportOf().at("argument");
  ASSERT_EQ(arguments.size(), 6U);
  EXPECT_EQ(arguments[0], kReportingProgram);
  EXPECT_THAT(std::vector(arguments.begin() + 2, arguments.end()), ElementsAre("-key", "a value", "", "-"));
}

TEST(Spawn, GivesTheProgramTheEnvironment) {
  std::string variable = "ONE=1";
  char* const environment[] = {variable.data(), nullptr};
  EXPECT_THAT(reportOf(environment).at("environment"), ElementsAre("ONE=1"));
}

TEST(Spawn, MakesANewSessionInTheRootFolder) {
  const Report report = reportOf();
  EXPECT_EQ(only(report, "session"), only(report, "pid"));
  EXPECT_EQ(only(report, "group"), only(report, "pid"));
  EXPECT_EQ(only(report, "folder"), "/");
}

TEST(Spawn, PutsTheStandardStreamsOnTheNullDevice) {
  const std::vector<std::string> descriptors = reportOf().at("descriptor");
  for (const char* stream : {"0 /dev/null", "1 /dev/null", "2 /dev/null"}) EXPECT_THAT(descriptors, Contains(stream));
}

TEST(Spawn, GivesTheProgramDefaultSignals) {
  EXPECT_EQ(statusInChild([] {
              for (const int number : {SIGHUP, SIGPIPE, SIGTERM, SIGUSR1}) {
                EXPECT_NE(::signal(number, SIG_IGN), SIG_ERR);
              }
              sigset_t all;
              sigfillset(&all);
              ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
              const Report report = reportOf();
              EXPECT_EQ(std::stoull(only(report, "SigIgn"), nullptr, 16) & ~kOwnSignals, 0U);
              EXPECT_EQ(std::stoull(only(report, "SigBlk"), nullptr, 16), 0U);
            }),
            0);
}

}  // namespace

}  // namespace zk::test
