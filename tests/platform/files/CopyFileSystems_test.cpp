#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// A file system that copies are made on: how it is made on the file "image", and how "image" is mounted at "disk".
struct FileSystem {
  const char* name;
  const char* make;
  const char* mount;
};

void PrintTo(const FileSystem& fileSystem, std::ostream* stream) { *stream << fileSystem.name; }

bool run(const std::string& command) {
  // NOLINTNEXTLINE(cert-env33-c): the command is this test's own.
  return std::system(command.c_str()) == 0;
}

/// A copy on each kind of file system, beside the one that `cp -a` makes.
class CopyFileSystems : public ::testing::TestWithParam<FileSystem> {
 protected:
  /// Runs `body` in a child process for which "disk" is a file system of its own, which is gone with it.
  void onDisk(const std::function<void()>& body) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root may mount file systems";
    const std::string inFolder = "cd '" + folder.path().string() + "' && exec 2>>output >&2 && ";
    if (!run(inFolder + "truncate -s 512M image && " + GetParam().make)) {
      GTEST_SKIP() << "cannot be made: " << readFile(folder / "output");
    }
    fs::create_directory(disk);
    const int status = statusInChild([&] {
      if (!enterOwnMounts() || !run(inFolder + GetParam().mount)) ::_exit(kNotPermitted);
      body();
    });
    if (status == kNotPermitted) GTEST_SKIP() << "cannot be mounted: " << readFile(folder / "output");
    EXPECT_EQ(status, 0);
  }

  TemporaryFolder folder;
  const fs::path disk = folder / "disk";
};

constexpr off_t kSmallFile = off_t{256} * 1024;  ///< up to which a file is copied in one piece

void makeFile(const fs::path& path, off_t size) {
  std::string bytes(static_cast<std::size_t>(size), '\0');
  unsigned state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  writeFile(path, bytes);
}

/// A hole, then 64 KiB, then a hole of 4 MiB at the end.
void makeSparse(const fs::path& path) {
  writeFile(path, "");
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
  const std::string bytes(65536, 'x');
  ASSERT_EQ(::pwrite(file.get(), bytes.data(), bytes.size(), 1 << 20), 65536);
  ASSERT_EQ(::ftruncate(file.get(), 5 << 20), 0);
}

void makeTree(const fs::path& top) {
  fs::create_directories(top / "empty folder");
  writeFile(top / "folder/file", "contents");
  writeFile(top / "empty", "");
  for (const off_t size : {kSmallFile - 1, kSmallFile, kSmallFile + 1}) makeFile(top / std::to_string(size), size);
  makeSparse(top / "sparse");
  writeFile(top / "\x01\n\xff'\"\\ *", "x");
  writeFile(top / std::string(255, 'n'), "x");
  fs::create_hard_link(top / "folder/file", top / "another name");
  fs::create_symlink("nothing", top / "link");
  fs::create_hard_link(top / "link", top / "folder/another name of the link");
  fs::create_directory_symlink("folder", top / "link to a folder");
  ASSERT_EQ(::mkfifo((top / "fifo").c_str(), 0640), 0);

  for (const char* name : {"folder/file", "folder", "link", "fifo"}) {
    ASSERT_EQ(::lchown((top / name).c_str(), 1234, 5678), 0);
  }
  ASSERT_EQ(::chown((top / "empty").c_str(), 0, 0), 0);
  for (const mode_t mode : Modes{0000, 0444, 0600, 0777, 01755, 02755, 04755, 06711}) {
    writeFile(top / "modes" / std::to_string(mode), "x");
    setMode(top / "modes" / std::to_string(mode), mode);
    fs::create_directory(top / "modes" / ("folder" + std::to_string(mode)));
    setMode(top / "modes" / ("folder" + std::to_string(mode)), mode);
  }
  for (const char* name : {"folder/file", "folder"}) {
    ASSERT_TRUE(setAttribute(top / name, "user.note", "kept"));
    ASSERT_TRUE(setAttribute(top / name, "system.posix_acl_access", accessListBytes(5)));
  }
  ASSERT_TRUE(setAttribute(top / "folder", "system.posix_acl_default", accessListBytes(7)));
  ASSERT_TRUE(setAttribute(top / "link", "trusted.note", "of the link"));
  for (const char* name : {"folder/file", "folder", "link", "fifo", "empty folder", ""}) {
    setTimes(top / name, {1234567890, 123456789}, {1111111111, 987654321});
  }
}

void expectSame(const fs::path& copy, const fs::path& original) {
  const TreeDescription expected = describeTree(original);
  const TreeDescription found = describeTree(copy);
  ASSERT_EQ(found.size(), expected.size());
  for (const auto& [path, text] : expected) {
    // Not by EXPECT_EQ, which would print what files hold.
    EXPECT_TRUE(found.at(path) == text) << path;
    const struct stat status = statusOf(original / path);
    const struct stat copied = statusOf(copy / path);
    EXPECT_EQ(copied.st_atim.tv_sec, status.st_atim.tv_sec) << path;
    EXPECT_EQ(copied.st_atim.tv_nsec, status.st_atim.tv_nsec) << path;
    EXPECT_EQ(copied.st_nlink, status.st_nlink) << path;
  }
  EXPECT_LE(statusOf(copy / "sparse").st_blocks, statusOf(original / "sparse").st_blocks);
}

TEST_P(CopyFileSystems, HoldTheSameAsACopyMadeByCp) {
  onDisk([this] {
    makeTree(disk / "from");
    ASSERT_TRUE(run("cp -a '" + (disk / "from").string() + "' '" + (disk / "expected").string() + "'"));
    for (const bool isKnown : {true, false}) {
      ASSERT_TRUE(isKnown || refuseSystemCall(SYS_fstatfs, ENOSYS));
      for (const mode_t mask : Modes{0022, 0027, 0077, 0777}) {
        ::umask(mask);
        const Outcome outcome = copyItem(disk / "from", disk / "to");
        ASSERT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
        expectSame(disk / "to", disk / "expected");
        EXPECT_TRUE(removeItem(disk / "to").succeeded);
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, CopyFileSystems,
                         ::testing::Values(FileSystem{"ext4", "mkfs.ext4 -q image", "mount -o loop,noatime image disk"},
                                           FileSystem{"ext4_whose_folders_give_their_group", "mkfs.ext4 -q image",
                                                      "mount -o loop,noatime,grpid image disk && chgrp 4242 disk"},
                                           FileSystem{"xfs", "mkfs.xfs -q image", "mount -o loop,noatime image disk"},
                                           FileSystem{"btrfs", "mkfs.btrfs -q image",
                                                      "mount -o loop,noatime image disk"},
                                           FileSystem{"tmpfs", "true", "mount -t tmpfs -o noatime none disk"}),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace zk::test
