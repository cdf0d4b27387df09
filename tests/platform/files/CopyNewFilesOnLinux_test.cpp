#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "CopyNewFiles.h"
#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "support/linux/SystemCallPauses.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAccessACL = "system.posix_acl_access";
constexpr const char* kDefaultACL = "system.posix_acl_default";

/// Whether another user can open the item.
bool isOpenToOthers(const fs::path& path) {
  return statusInChild([&] {
           ASSERT_EQ(::setuid(kOther), 0);
           const FileDescriptor item(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
           if (item.isOpen()) ::_exit(1);
           EXPECT_THAT(errno, ::testing::AnyOf(EACCES, ENOENT));
         }) != 0;
}

/// Without a mask for new files, which could hide that they are open to others.
class CopyNewFilesOnLinux : public ::testing::Test {
 protected:
  void TearDown() override { ::umask(mask); }

  TemporaryFolder folder;
  const mode_t mask = ::umask(0);
};

TEST_F(CopyNewFilesOnLinux, AreOpenToNobodyElseUntilTheCopyIsDone) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  for (const char* name : {"from/a/file", "from/b", "from/c/d/file", "from/e"}) {
    writeFile(folder / name, "x");
    setMode(folder / name, 0644);
  }
  fs::create_directory(folder / "parent");
  setAttribute(folder / "parent", kDefaultACL, accessListBytes(7));
  setMode(folder / "parent", 02777);

  int looks = 0;
  const auto look = [&](const std::string& /*name*/) {
    if (!isThere(folder / "parent/to")) return;
    ++looks;
    for (const char* path : {"", "a", "a/file", "b", "c/d/file", "e"}) {
      EXPECT_FALSE(isOpenToOthers(folder / "parent/to" / path)) << path;
    }
  };
  // Before each item is opened or made, and before the first thing is done to the new top folder.
  for (const long call : {SYS_openat, SYS_fremovexattr}) {
    looks = 0;
    const auto copy = [this] { EXPECT_TRUE(copyItem(folder / "from", folder / "parent/to").succeeded); };
    if (!runWithPauses(call, look, copy)) GTEST_SKIP() << "no call may be made to pause here";
    EXPECT_GT(looks, 0);
    EXPECT_TRUE(isOpenToOthers(folder / "parent/to/c/d/file"));
    EXPECT_TRUE(removeItem(folder / "parent/to").succeeded);
  }
}

TEST_F(CopyNewFiles, HaveTheirACLsAnywhereInTheTree) {
  for (const bool isFirst : {true, false}) {
    makeFiles(folder / "from/a");
    makeFiles(folder / "from/b");
    const fs::path list = folder / (isFirst ? "from/a/384" : "from/b/511");
    if (!setAttribute(list, kAccessACL, accessListBytes(6))) GTEST_SKIP() << "no ACLs here";
    expectSameCopies(folder / "to");
    fs::remove_all(folder / "from");
  }
}

TEST_F(CopyNewFiles, InheritNothingFromTheFolderAroundTheCopy) {
  fs::create_directory(folder / "parent");
  if (!setAttribute(folder / "parent", kDefaultACL, accessListBytes(7))) GTEST_SKIP() << "no ACLs here";
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown((folder / "parent").c_str(), kOther, kOther), 0);
  }
  setMode(folder / "parent", 02777);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 makeFiles(folder / "from/a");
                                 expectSameCopies(folder / "parent/to");
                               }),
            0);
  makeFiles(folder / "from/b");
  expectSameCopies(folder / "parent/to");
}

}  // namespace
}  // namespace zk::test
