#include "darwin/Spawn.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

// NOLINTNEXTLINE(readability-redundant-declaration): macOS does not declare it.
extern "C" char** environ;

namespace zk::test {

namespace {

using darwin::runToSuccess;
using darwin::spawnTask;

constexpr char kShell[] = "/bin/sh";

bool runShell(const std::string& script) { return runToSuccess(kShell, {"-c", script}, environ); }

/// Waits until a task has ended.
/// @return what it wrote to its standard error
std::string outputOf(NSTask& task) {
  std::string output;
  while (task.isRunning()) {
    output += task.availableErrorOutput();
    std::this_thread::yield();
  }
  return output + task.availableErrorOutput();
}

bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

std::vector<int> openDescriptors() {
  std::vector<int> open;
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) open.push_back(descriptor);
  }
  return open;
}

TEST(RunToSuccess, IsTrueOnlyForTheStatusZero) {
  EXPECT_TRUE(runShell("exit 0"));
  EXPECT_FALSE(runShell("exit 1"));
  EXPECT_FALSE(runShell("kill -KILL $$"));
}

TEST(RunToSuccess, FailsIfTheProgramCannotBeExecuted) {
  const TemporaryFolder folder;
  EXPECT_FALSE(runToSuccess(folder / "missing", {}, environ));
  EXPECT_FALSE(runToSuccess("/", {}, environ));
  EXPECT_FALSE(hasChildren());
}

TEST(RunToSuccess, LeavesNoProcessAndNoDescriptor) {
  const std::vector<int> before = openDescriptors();
  EXPECT_TRUE(runShell("exit 0"));
  EXPECT_FALSE(hasChildren());
  EXPECT_EQ(openDescriptors(), before);
}

TEST(SpawnTask, HasItsErrorOutputAndItsStatusRead) {
  const Ref<NSTask> task = spawnTask(kShell, {"-c", "echo out; echo wrong >&2; exit 3"}, environ);
  ASSERT_TRUE(task);
  EXPECT_EQ(outputOf(*task), "wrong\n");
  EXPECT_EQ(task->terminationStatus(), 3);
  EXPECT_FALSE(hasChildren());
}

TEST(SpawnTask, CanBeKilledWithAllThatItHasStarted) {
  const Ref<NSTask> task = spawnTask(kShell, {"-c", "sleep 60 & sleep 60"}, environ);
  ASSERT_TRUE(task);
  EXPECT_TRUE(task->isRunning());
  task->kill();
  EXPECT_EQ(task->terminationStatus(), 128 + SIGKILL);
}

TEST(SpawnTask, IsAbsentIfTheProgramCannotBeExecuted) {
  const TemporaryFolder folder;
  const std::vector<int> before = openDescriptors();
  EXPECT_FALSE(spawnTask(folder / "missing", {}, environ));
  EXPECT_FALSE(hasChildren());
  EXPECT_EQ(openDescriptors(), before);
}

TEST(SpawnTask, NeedsNoOpenStandardStreams) {
  EXPECT_EQ(statusInChild([] {
              const TemporaryFolder folder;
              for (int stream = 0; stream <= 2; ++stream) ::close(stream);
              const Ref<NSTask> task = spawnTask(kShell, {"-c", "echo wrong >&2"}, environ);
              if (!task || outputOf(*task) != "wrong\n") ::_exit(1);
            }),
            0);
}

TEST(SpawnTask, IsAbsentWithoutDescriptors) {
  EXPECT_EQ(statusInChild([] {
              while (::open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0) {
              }
              EXPECT_FALSE(spawnTask(kShell, {"-c", "exit 0"}, environ));
              EXPECT_FALSE(hasChildren());
            }),
            0);
}

}  // namespace

}  // namespace zk::test
