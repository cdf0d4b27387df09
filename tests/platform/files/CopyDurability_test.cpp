#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class CopyDurability : public ::testing::Test {
 protected:
  /// Copies a tree in a child process in which these ways of waiting for the disk fail with `error`.
  /// @return the code of the copy's error
  int codeWhereFails(int error, const std::vector<long>& calls) {
    return statusInChild([this, error, calls] {
      for (const long call : calls) {
        if (!refuseSystemCall(call, error)) ::_exit(kNotPermitted);
      }
      const Outcome outcome = copyItem(folder / "from", folder / "to");
      EXPECT_EQ(outcome.succeeded, outcome.code() == 0);
      ::_exit(static_cast<int>(outcome.code()));
    });
  }

  TemporaryFolder folder;
};

TEST_F(CopyDurability, FailsIfTheDiskReportsAnError) {
  writeFile(folder / "from/file", "x");
  const std::pair<int, int> errors[] = {{EIO, 5}, {ENOSPC, 28}, {EDQUOT, 69}, {EROFS, 30}};
  for (const auto& [error, code] : errors) {
    EXPECT_EQ(codeWhereFails(error, {SYS_syncfs, SYS_fsync}), code);
    fs::remove_all(folder / "to");
  }
}

TEST_F(CopyDurability, DoesNotFailForTheErrorOfAnotherFile) {
  writeFile(folder / "from/inner/file", "x");
  fs::create_symlink("nothing", folder / "from/link");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0600), 0);
  EXPECT_EQ(codeWhereFails(EIO, {SYS_syncfs}), 0);
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
}

/// What the file system can do is unknown, so it is not trusted.
TEST_F(CopyDurability, WaitsForEachItemAndOnceMoreOnAnUnknownFileSystem) {
  writeFile(folder / "from/inner/file", "x");
  EXPECT_EQ(statusInChild([this] {
              ASSERT_TRUE(refuseSystemCall(SYS_fstatfs, ENOSYS));
              ASSERT_TRUE(refuseSystemCall(SYS_fsync, EIO));
              RecordingDelegate delegate;
              delegate.proceeds = true;
              EXPECT_TRUE(copyItem(folder / "from", folder / "to", &delegate).succeeded);
              std::vector<std::string> failed;
              for (const auto& [source, destination] : delegate.failures) failed.push_back(source);
              EXPECT_THAT(failed, ElementsAre((folder / "from/inner/file").string(), (folder / "from/inner").string(),
                                              (folder / "from").string(), (folder / "from").string()));
              EXPECT_THAT(delegate.codes, ElementsAre(5, 5, 5, 5));
            }),
            0);
}

TEST_F(CopyDurability, FailsIfTheDiskReportsAnErrorForALinksFolder) {
  fs::create_symlink("nothing", folder / "from");
  EXPECT_EQ(codeWhereFails(EIO, {SYS_fsync}), 5);
}

TEST_F(CopyDurability, IsNotRequiredOfAFileSystemThatCannotSync) {
  writeFile(folder / "from/file", "x");
  for (const int error : {EINVAL, ENOTSUP, ENOSYS}) {
    EXPECT_EQ(codeWhereFails(error, {SYS_syncfs, SYS_fsync}), 0) << error;
    EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
    fs::remove_all(folder / "to");
  }
}

TEST_F(CopyDurability, WaitsForEverythingIfTheFolderMayNotBeRead) {
  const auto copyThere = [this] {
    writeFile(folder / "from", "x");
    fs::create_directories(folder / "closed");
    setMode(folder / "closed", 0300);
    fs::remove(folder / "closed/to");
    EXPECT_TRUE(copyItem(folder / "from", folder / "closed/to").succeeded);
    EXPECT_EQ(readFile(folder / "closed/to"), "x");
  };
  EXPECT_EQ(statusUnprivileged(folder, copyThere), 0);
  EXPECT_EQ(statusUnprivileged(folder,
                               [&] {
                                 ASSERT_TRUE(endAtSystemCall(SYS_sync));
                                 copyThere();
                               }),
            kEndedBySignal + SIGSYS);
}

/// A small file system that only a child process sees.
class FullDisk : public ::testing::Test {
 protected:
  /// Runs `body` in a child process in which the folder "disk" is a file system for a quarter of a megabyte and few
  /// items.
  void onSmallDisk(const std::function<void()>& body) {
    fs::create_directory(folder / "disk");
    const int status = statusInChild([&] {
      if (!enterOwnMounts() ||
          ::mount("none", (folder / "disk").c_str(), "tmpfs", 0, "size=256k,nr_inodes=64,mode=0777") != 0) {
        ::_exit(kNotPermitted);
      }
      body();
    });
    if (status == kNotPermitted) GTEST_SKIP() << "mounting is not permitted here";
    EXPECT_EQ(status, 0);
  }

  TemporaryFolder folder;
};

TEST_F(FullDisk, EndsTheCopyOfAFile) {
  writeFile(folder / "from/file", std::string(1000000, 'x'));
  onSmallDisk([this] {
    const Outcome outcome = copyItem(folder / "from", folder / "disk/to");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.code(), 28);
    EXPECT_EQ(outcome.path(), (folder / "from/file").string());
  });
}

TEST_F(FullDisk, EndsTheCopyOfManyItems) {
  for (int count = 0; count < 100; ++count) {
    fs::create_directories(folder / "from" / std::to_string(count));
    fs::create_symlink("nothing", folder / "from" / ("link" + std::to_string(count)));
  }
  onSmallDisk([this] { EXPECT_EQ(copyItem(folder / "from", folder / "disk/to").code(), 28); });
}

TEST_F(FullDisk, CanBeEmptiedAgain) {
  writeFile(folder / "from/file", std::string(1000000, 'x'));
  onSmallDisk([this] {
    copyItem(folder / "from", folder / "disk/to");
    EXPECT_TRUE(removeItem(folder / "disk/to").succeeded);
    EXPECT_TRUE(fs::is_empty(folder / "disk"));
  });
}

TEST_F(FullDisk, TakesAHoleThatIsLargerThanItself) {
  writeFile(folder / "from", "x");
  ASSERT_EQ(::truncate((folder / "from").c_str(), 100000000), 0);
  onSmallDisk([this] {
    EXPECT_TRUE(copyItem(folder / "from", folder / "disk/to").succeeded);
    EXPECT_EQ(statusOf(folder / "disk/to").st_size, 100000000);
  });
}

/// A copy for which a metadata call fails.
class CopyRefused : public ::testing::Test {
 protected:
  /// @return the code of the error of a copy in a child process in which the call fails; 0 if it succeeded
  int codeWhereFails(long number, int error) {
    return statusInChild([&] {
      if (!refuseSystemCall(number, error)) ::_exit(kNotPermitted);
      ::_exit(static_cast<int>(copyItem(folder / "from", folder / "to").code()));
    });
  }

  TemporaryFolder folder;
};

TEST_F(CopyRefused, LeavesOutAttributesSilentlyUnlessTheDiskIsFull) {
  writeFile(folder / "from", "x");
  if (!setAttribute(folder / "from", "user.note", "v")) GTEST_SKIP() << "no extended attributes here";
  for (const int error : {EPERM, EACCES, ENOTSUP, ENOSYS, E2BIG}) {
    EXPECT_EQ(codeWhereFails(SYS_fsetxattr, error), 0) << error;
    EXPECT_EQ(attributeOf(folder / "to", "user.note"), std::nullopt);
    fs::remove(folder / "to");
  }
  const std::pair<int, int> errors[] = {{ENOSPC, 28}, {EDQUOT, 69}, {EIO, 5}};
  for (const auto& [error, code] : errors) {
    EXPECT_EQ(codeWhereFails(SYS_fsetxattr, error), code);
    fs::remove(folder / "to");
  }
}

TEST_F(CopyRefused, LeavesOutAttributesThatCannotBeListedOrRead) {
  writeFile(folder / "from", "x");
  if (!setAttribute(folder / "from", "user.note", "v")) GTEST_SKIP() << "no extended attributes here";
  for (const long number : {SYS_flistxattr, SYS_fgetxattr}) {
    EXPECT_EQ(codeWhereFails(number, ENOTSUP), 0);
    fs::remove(folder / "to");
    EXPECT_EQ(codeWhereFails(number, EIO), 5);
    fs::remove(folder / "to");
  }
}

TEST_F(CopyRefused, LeavesOutTheOwnerSilentlyUnlessTheDiskIsFull) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give items away";
  writeFile(folder / "from", "x");
  ASSERT_EQ(::chown((folder / "from").c_str(), 1234, 5678), 0);
  for (const int error : {EPERM, EINVAL, EOVERFLOW, ENOSYS}) {
    EXPECT_EQ(codeWhereFails(SYS_fchown, error), 0) << error;
    fs::remove(folder / "to");
  }
  EXPECT_EQ(codeWhereFails(SYS_fchown, EDQUOT), 69);
}

TEST_F(CopyRefused, NeverLeavesOutModeOrTimes) {
  writeFile(folder / "from", "x");
  setMode(folder / "from", 0751);
  EXPECT_EQ(codeWhereFails(SYS_fchmod, EPERM), 1);
  fs::remove(folder / "to");
  EXPECT_EQ(codeWhereFails(SYS_utimensat, EPERM), 1);
}

TEST_F(CopyRefused, DoesNotSetAModeThatIsAlreadyRight) {
  writeFile(folder / "from", "x");
  setMode(folder / "from", 0600);
  EXPECT_EQ(codeWhereFails(SYS_fchmod, EPERM), 0);
}

TEST_F(CopyRefused, NeedsTheTimesOfLinksOnlyIfThereAreAny) {
  fs::create_symlink("nothing", folder / "from");
  for (const int unknown : {ENOTSUP, ENOSYS, EINVAL}) {
    EXPECT_EQ(codeWhereFails(SYS_utimensat, unknown), 0) << unknown;
    fs::remove(folder / "to");
  }
  EXPECT_EQ(codeWhereFails(SYS_utimensat, EIO), 5);
  fs::remove(folder / "to");
  EXPECT_EQ(codeWhereFails(SYS_utimensat, EPERM), 1);
}

TEST_F(CopyRefused, CopiesAFileAgainIfItCannotBeLinked) {
  writeFile(folder / "from/a", "x");
  fs::create_hard_link(folder / "from/a", folder / "from/b");
  for (const int error : {EMLINK, EPERM, EXDEV, ENOTSUP, ENOSYS, EACCES}) {
    EXPECT_EQ(codeWhereFails(SYS_linkat, error), 0) << error;
    EXPECT_EQ(readFile(folder / "to/b"), "x");
    EXPECT_NE(statusOf(folder / "to/a").st_ino, statusOf(folder / "to/b").st_ino);
    fs::remove_all(folder / "to");
  }
  EXPECT_EQ(codeWhereFails(SYS_linkat, ENOSPC), 28);
}

}  // namespace
}  // namespace zk::test
