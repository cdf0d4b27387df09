#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/RefuseSystemCall.h"
#include "support/TreeDescription.h"
#include "system/FileDescriptor.h"
#include "system/Port.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

constexpr off_t kMegabyte = 1 << 20;

/// Bytes without any repetition.
std::string someBytes(std::size_t count) {
  std::string bytes(count, '\0');
  unsigned state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

class CopyContents : public ::testing::Test {
 protected:
  /// Makes a file of `size` bytes that has data only in the given stretches and holes elsewhere.
  void makeSparse(const fs::path& path, off_t size, const std::vector<std::pair<off_t, std::string>>& stretches) {
    writeFile(path, "");
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    for (const auto& [offset, bytes] : stretches) {
      ASSERT_EQ(::pwrite(file.get(), bytes.data(), bytes.size(), offset), static_cast<ssize_t>(bytes.size()));
    }
    ASSERT_EQ(::ftruncate(file.get(), size), 0);
  }

  /// A tree with files of the kinds that are copied in different ways.
  void makeTree() {
    writeFile(folder / "from/empty", "");
    writeFile(folder / "from/small", "x");
    writeFile(folder / "from/large", someBytes(3 * kMegabyte + 17));
    makeSparse(folder / "from/hole", 5 * kMegabyte, {});
    makeSparse(folder / "from/middle", 5 * kMegabyte, {{2 * kMegabyte, someBytes(kMegabyte)}});
    makeSparse(folder / "from/ends", 5 * kMegabyte, {{0, someBytes(4096)}, {5 * kMegabyte - 10, someBytes(10)}});
  }

  void copyAndCompare() {
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
    // EXPECT_EQ would print megabytes.
    EXPECT_TRUE(describeTree(folder / "to") == describeTree(folder / "from"));
  }

  /// Copies the contents of "from", which had `size` bytes when its status was asked for, to "to".
  int copyContentsOf(off_t size) {
    const FileDescriptor source(::open((folder / "from").c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = statusOf(folder / "from");
    if (status.st_blocks >= status.st_size / 512) status.st_blocks = size / 512;
    status.st_size = size;
    const std::string path = folder / "to";
    fs::remove(path);
    port::CopyMeans means;
    FileDescriptor made;
    return port::copyContents(source.get(), status, {AT_FDCWD, path.c_str()}, 0600, means, made).number();
  }

  TemporaryFolder folder;
};

TEST_F(CopyContents, KeepsBytesAndHoles) {
  makeTree();
  copyAndCompare();
  EXPECT_LT(statusOf(folder / "to/hole").st_blocks, 100);
  EXPECT_LE(statusOf(folder / "to/middle").st_blocks, statusOf(folder / "from/middle").st_blocks);
}

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

TEST_F(CopyContents, EndsAtTheNewEndOfAFileThatBecameShorter) {
  const std::string bytes = someBytes(100000);
  writeFile(folder / "from", bytes);
  EXPECT_EQ(copyContentsOf(300000), 0);
  EXPECT_TRUE(readFile(folder / "to") == bytes);
  EXPECT_EQ(copyContentsOf(100001), 0);
  EXPECT_TRUE(readFile(folder / "to") == bytes);
}

TEST_F(CopyContents, EndsAtTheNewEndOfAFileWithAFinalHoleThatBecameShorter) {
  makeSparse(folder / "from", kMegabyte, {{0, "x"}});
  EXPECT_EQ(copyContentsOf(2 * kMegabyte), 0);
  EXPECT_EQ(statusOf(folder / "to").st_size, kMegabyte);
}

TEST_F(CopyContents, CopiesAtLeastTheOldPartOfAFileThatBecameLonger) {
  const std::string bytes = someBytes(100000);
  writeFile(folder / "from", bytes);
  EXPECT_EQ(copyContentsOf(50000), 0);
  EXPECT_TRUE(bytes.starts_with(readFile(folder / "to")));
  EXPECT_GE(statusOf(folder / "to").st_size, 50000);
}

TEST_F(CopyContents, EndsEvenIfTheFileKeepsGrowing) {
  writeFile(folder / "from", someBytes(kMegabyte));
  ChildProcess writer([this](const ChildProcess::TellReady& tellReady) {
    const FileDescriptor file(::open((folder / "from").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    const std::string bytes = someBytes(4096);
    for (int count = 0; count < 20000; ++count) {
      if (::write(file.get(), bytes.data(), bytes.size()) < 0) return;
      if (count == 10) tellReady();
    }
  });
  for (int count = 0; count < 20; ++count) {
    EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
    EXPECT_GE(statusOf(folder / "to").st_size, kMegabyte);
    fs::remove(folder / "to");
  }
}

TEST_F(CopyContents, ReportsTheErrorForAFileThatCannotBeRead) {
  writeFile(folder / "from", "x");
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed", "x");
                                 setMode(folder / "closed", 0);
                                 EXPECT_EQ(copyItem(folder / "closed", folder / "to").code(), 13);
                                 EXPECT_FALSE(isThere(folder / "to"));
                               }),
            0);
}

TEST_F(CopyContents, ReportsTheErrorForAFolderThatCannotBeRead) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 fs::create_directory(folder / "closed");
                                 setMode(folder / "closed", 0300);
                                 EXPECT_EQ(copyItem(folder / "closed", folder / "to").code(), 13);
                                 EXPECT_FALSE(isThere(folder / "to"));
                               }),
            0);
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
