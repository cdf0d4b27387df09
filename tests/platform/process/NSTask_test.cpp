#include "process/NSTask.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "support/ChildProcess.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "system/FileDescriptor.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kShell[] = "/bin/sh";

Ref<NSTask> launched(const std::string& program, const std::vector<std::string>& arguments) {
  return NSTask::launchedTaskWithLaunchPath(NSString::stringWithBytes(program), arguments);
}

/// A generous bound, in case what is waited for never comes.
void waitUntil(const std::function<bool()>& isSo) {
  for (int check = 0; check < 3000 && !isSo(); ++check) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_TRUE(isSo());
}

int statusOf(NSTask& task) {
  waitUntil([&] { return !task.isRunning(); });
  return task.terminationStatus();
}

TEST(NSTask, TellsWhetherTheProgramRunsAndHowItEnded) {
  const TemporaryFolder folder;
  const Ref<NSTask> task = launched(kShell, {"-c", "until [ -e \"$0\" ]; do sleep 0.01; done; exit 3", folder / "end"});
  ASSERT_TRUE(task);
  EXPECT_TRUE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), NSTask::kUnknownStatus);
  writeFile(folder / "end", "");
  EXPECT_EQ(statusOf(*task), 3);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no zombie is left";
}

TEST(NSTask, TellsTheSignalThatEndedTheProgram) {
  const Ref<NSTask> task = launched(kShell, {"-c", "kill -TERM $$"});
  ASSERT_TRUE(task);
  EXPECT_EQ(statusOf(*task), 128 + SIGTERM);
}

TEST(NSTask, KnowsNoStatusWhereEndedChildrenAreNotKept) {
  EXPECT_EQ(statusInChild([] {
              ::signal(SIGCHLD, SIG_IGN);
              const Ref<NSTask> task = launched(kShell, {"-c", "exit 3"});
              ASSERT_TRUE(task);
              EXPECT_EQ(statusOf(*task), NSTask::kUnknownStatus);
              task->kill();
            }),
            0);
}

TEST(NSTask, IsAbsentForWhatCannotBeExecuted) {
  EXPECT_FALSE(launched("/no such program", {}));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(NSTask, HandsOverWhatTheProgramWritesToItsStandardErrorWithoutWaitingForMore) {
  const TemporaryFolder folder;
  const Ref<NSTask> task =
      launched(kShell, {"-c", "echo one >&2; until [ -e \"$0\" ]; do sleep 0.01; done; echo two >&2", folder / "end"});
  ASSERT_TRUE(task);
  std::string output;
  waitUntil([&] { return !(output += task->availableErrorOutput()).empty(); });
  EXPECT_EQ(output, "one\n");
  EXPECT_EQ(task->availableErrorOutput(), "");
  writeFile(folder / "end", "");
  statusOf(*task);
  EXPECT_EQ(task->availableErrorOutput(), "two\n") << "also of a program that has ended";
}

TEST(NSTask, StartsASessionOfItsOwn) {
  const TemporaryFolder folder;
  const Ref<NSTask> task =
      launched(kShell, {"-c", "echo $$ >&2; until [ -e \"$0\" ]; do sleep 0.01; done", folder / "end"});
  ASSERT_TRUE(task);
  std::string id;
  waitUntil([&] { return (id += task->availableErrorOutput()).ends_with("\n"); });
  EXPECT_EQ(::getsid(std::stoi(id)), std::stoi(id));
  writeFile(folder / "end", "");
  EXPECT_EQ(statusOf(*task), 0);
}

TEST(NSTask, EndsTheProgramWithAllThatItHasStarted) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  const FileDescriptor fifo(::open((folder / "fifo").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const Ref<NSTask> task = launched(kShell, {"-c", "{ echo; sleep 60; } > \"$0\" & wait", folder / "fifo"});
  ASSERT_TRUE(task);
  char byte;
  bool hasStarted = false;
  waitUntil([&] { return hasStarted = hasStarted || ::read(fifo.get(), &byte, 1) == 1; });
  task->kill();
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), 128 + SIGKILL);
  // The fifo ends with the last process that may write to it.
  waitUntil([&] { return ::read(fifo.get(), &byte, 1) == 0; });
}

TEST(NSTask, LetsTheProgramGoOnWhenTheObjectEnds) {
  const TemporaryFolder folder;
  launched(kShell, {"-c", "trap '' PIPE; echo lost >&2; until [ -e \"$0\" ]; do sleep 0.01; done; : > \"$1\"",
                    folder / "end", folder / "ended"})
      .reset();
  writeFile(folder / "end", "");
  waitUntil([&] { return fs::exists(folder / "ended"); });
  ::waitpid(-1, nullptr, 0);
}

}  // namespace

}  // namespace zk::test
