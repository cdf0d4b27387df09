#include <gtest/gtest.h>
#include <signal.h>

#include "process/ProcessStart.h"
#include "support/ChildProcess.h"
#include "support/linux/TracedChild.h"

namespace zk::test {
namespace {

char programName[] = "program";
char* noArguments[] = {programName, nullptr};

void start() { startProcess(1, noArguments); }

TEST(ProcessStart, IsNotEndedByAHangUpAtAnyMoment) {
  EXPECT_EQ(statusInChild([] {
              ::signal(SIGHUP, SIG_IGN);
              int hangUps = 0;
              EXPECT_EQ(statusInTracedChild(start,
                                            [&hangUps](pid_t pid, int /*stop*/) {
                                              ++hangUps;
                                              ::kill(pid, SIGHUP);
                                            }),
                        0);
              EXPECT_GT(hangUps, 2 * SIGRTMAX) << "one before and one after each signal's action is set";
            }),
            0);
}

}  // namespace
}  // namespace zk::test
