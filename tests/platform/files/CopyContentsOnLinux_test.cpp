#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "CopyContents.h"
#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/TreeDescription.h"
#include "support/linux/RefuseSystemCall.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// System calls that a filter may refuse, and the error of each.
struct Refusal {
  const char* name;
  std::vector<long> numbers;
  int error;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) { *stream << refusal.name; }

class CopyContentsRefused : public CopyContents, public ::testing::WithParamInterface<Refusal> {};

TEST_P(CopyContentsRefused, LosesNothing) {
  makeTree();
  EXPECT_EQ(statusInChild([this] {
              for (const long number : GetParam().numbers) {
                ASSERT_TRUE(refuseSystemCall(number, GetParam().error));
              }
              const Outcome outcome = copyItem(folder / "from", folder / "to");
              EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
            }),
            0);
  EXPECT_TRUE(describeTree(folder / "to") == describeTree(folder / "from"));
}

INSTANTIATE_TEST_SUITE_P(Calls, CopyContentsRefused,
                         ::testing::Values(Refusal{"Cloning", {SYS_ioctl}, EPERM},
                                           Refusal{"CloningWithAnOddError", {SYS_ioctl}, EIO},
                                           Refusal{"CopyingByNoCall", {SYS_copy_file_range}, ENOSYS},
                                           Refusal{"CopyingByFilter", {SYS_copy_file_range}, EPERM},
                                           Refusal{"CopyingAcrossFileSystems", {SYS_copy_file_range}, EXDEV},
                                           Refusal{"CopyingByFileSystem", {SYS_copy_file_range}, EOPNOTSUPP},
                                           Refusal{"CopyingOfThisFile", {SYS_copy_file_range}, EINVAL},
                                           Refusal{"CopyingWithoutRoom", {SYS_copy_file_range}, ENOSPC},
                                           Refusal{"Both", {SYS_ioctl, SYS_copy_file_range}, ENOSYS},
                                           // A success that has copied nothing.
                                           Refusal{"CopyingByDoingNothing", {SYS_copy_file_range}, 0}),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_F(CopyContents, KeepsTheBytesIfHolesCannotBeFound) {
  makeTree();
  EXPECT_EQ(statusInChild([this] {
              ASSERT_TRUE(refuseSystemCall(SYS_lseek, EINVAL));
              EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
            }),
            0);
  for (const char* name : {"empty", "small", "large", "hole", "middle", "ends"}) {
    EXPECT_TRUE(readFile(folder / "to" / name) == readFile(folder / "from" / name)) << name;
  }
}

TEST_F(CopyContents, ReadsFilesThatReportNoSize) {
  const Outcome outcome = copyItem("/proc/self/mountinfo", folder / "to");
  EXPECT_TRUE(outcome.succeeded) << outcome.code();
  EXPECT_EQ(readFile(folder / "to"), readFile("/proc/self/mountinfo"));
  EXPECT_GT(statusOf(folder / "to").st_size, 0);
}

TEST_F(CopyContents, ReadsFilesThatReportMoreThanTheyHold) {
  const fs::path path = "/sys/kernel/mm/transparent_hugepage/enabled";
  if (!isThere(path)) GTEST_SKIP() << "no such file here";
  ASSERT_EQ(statusOf(path).st_size, 4096);
  const Outcome outcome = copyItem(path, folder / "to");
  EXPECT_TRUE(outcome.succeeded) << outcome.code();
  EXPECT_EQ(readFile(folder / "to"), readFile(path));
}

TEST_F(CopyContents, ReportsAReadError) {
  // The memory at address 0 cannot be read.
  const Outcome outcome = copyItem("/proc/self/mem", folder / "to");
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 5);
}

TEST_F(CopyContents, ReportsAWriteError) {
  writeFile(folder / "from", "x");
  EXPECT_EQ(statusInChild([this] {
              ASSERT_TRUE(refuseSystemCall(SYS_ioctl, ENOSYS));
              ASSERT_TRUE(refuseSystemCall(SYS_copy_file_range, ENOSYS));
              ASSERT_TRUE(refuseSystemCall(SYS_write, EDQUOT));
              EXPECT_EQ(copyItem(folder / "from", folder / "to").code(), 69);
            }),
            0);
}

}  // namespace
}  // namespace zk::test
