#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

constexpr int kDepth = 3000;

FileDescriptor openBelow(int parent, const char* name) {
  return FileDescriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

FileDescriptor openTop(const fs::path& path) { return openBelow(AT_FDCWD, path.c_str()); }

void writeBelow(int parent, const char* name) {
  const FileDescriptor file(::openat(parent, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
  ASSERT_TRUE(file.isOpen());
  ASSERT_EQ(::write(file.get(), "deep", 4), 4);
}

/// The folder `depth` levels below `path`, each level called "d"; closed if it does not exist.
FileDescriptor openDeep(const fs::path& path, int depth) {
  FileDescriptor folder = openTop(path);
  for (int level = 0; level < depth && folder.isOpen(); ++level) folder = openBelow(folder.get(), "d");
  return folder;
}

class CopyDepth : public ::testing::Test {
 protected:
  ~CopyDepth() override {
    for (const char* name : {"from", "to"}) {
      if (isThere(folder / name)) {
        EXPECT_TRUE(removeItem(folder / name).succeeded);
      }
    }
  }

  /// Makes folders within folders, each called "d", a file beside each every hundred levels, and one at the bottom.
  void makeDeep(const fs::path& path, int depth) {
    ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
    FileDescriptor inner = openTop(path);
    for (int level = 0; level < depth; ++level) {
      if (level % 100 == 0) writeBelow(inner.get(), "z");
      ASSERT_EQ(::mkdirat(inner.get(), "d", 0750), 0);
      inner = openBelow(inner.get(), "d");
    }
    writeBelow(inner.get(), "bottom");
  }

  void expectDeep(const fs::path& path, int depth) {
    FileDescriptor inner = openTop(path);
    struct stat status;
    for (int level = 0; level < depth; ++level) {
      if (level % 100 == 0) {
        ASSERT_EQ(::fstatat(inner.get(), "z", &status, 0), 0) << level;
        EXPECT_EQ(status.st_size, 4);
      }
      inner = openBelow(inner.get(), "d");
      ASSERT_TRUE(inner.isOpen()) << level;
      ASSERT_EQ(::fstat(inner.get(), &status), 0);
      ASSERT_EQ(status.st_mode & 07777, 0750u) << level;
    }
    EXPECT_EQ(::fstatat(inner.get(), "bottom", &status, 0), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
  }

  /// Runs `body` in a child process that does not wait for the disk, since that takes long with thousands of folders.
  template <class Body>
  void withoutSync(Body body) {
    EXPECT_EQ(statusInChild([&] {
                neverWaitForTheDisk();
                body();
              }),
              0);
  }

  TemporaryFolder folder;
};

void limitDescriptors(rlim_t count) {
  const struct rlimit limit = {count, count};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

TEST_F(CopyDepth, CopiesAndRemovesTreesDeeperThanTheLongestPathAndTheDescriptorLimit) {
  makeDeep(folder / "from", kDepth);
  withoutSync([this] {
    limitDescriptors(64);
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code();
    expectDeep(folder / "to", kDepth);
    EXPECT_TRUE(removeItem(folder / "to").succeeded);
    EXPECT_FALSE(isThere(folder / "to"));
  });
}

TEST_F(CopyDepth, RemovesWhatIsInTheWayHoweverDeepItsPath) {
  constexpr int kBeyondPaths = 2100;
  makeDeep(folder / "from", kBeyondPaths);
  RecordingDelegate delegate;
  int removed = 0;
  delegate.shouldCopy = [&](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    if (destination->path()->bytes().ends_with("/bottom")) {
      const FileDescriptor deepest = openDeep(folder / "to", kBeyondPaths);
      EXPECT_EQ(::mkdirat(deepest.get(), "bottom", 0700), 0);
      writeBelow(openBelow(deepest.get(), "bottom").get(), "inside");
      EXPECT_GT(destination->path()->length(), kLongestPath);
      removed += fileManager.removeItemAtURL(destination);
    }
    return true;
  };
  withoutSync([&] {
    const Outcome outcome = copyItem(folder / "from", folder / "to", &delegate);
    EXPECT_TRUE(outcome.succeeded) << outcome.code();
    EXPECT_EQ(removed, 1);
    expectDeep(folder / "to", kBeyondPaths);
  });
}

TEST_F(CopyDepth, KeepsHardLinksAcrossAnyDepth) {
  constexpr int kBeyondPaths = 2100;
  makeDeep(folder / "from", kBeyondPaths);
  const FileDescriptor source = openDeep(folder / "from", kBeyondPaths);
  ASSERT_EQ(::linkat(source.get(), "bottom", AT_FDCWD, (folder / "from/e").c_str(), 0), 0);
  withoutSync([this] { EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded); });
  struct stat bottom;
  ASSERT_EQ(::fstatat(openDeep(folder / "to", kBeyondPaths).get(), "bottom", &bottom, 0), 0);
  EXPECT_EQ(bottom.st_ino, statusOf(folder / "to/e").st_ino);
}

TEST_F(CopyDepth, CanLeaveFoldersThatLockTheirOwnerOut) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make another user's folders";
  // So deep that the walk has closed the outer folders. The modes of their copies lock their owner out.
  fs::path path = folder / "from";
  for (int level = 0; level < 10; ++level) {
    fs::create_directory(path);
    path /= "d";
  }
  for (int level = 0; level < 10; ++level) setMode(path = path.parent_path(), 0005);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 const Outcome outcome = copyItem(folder / "from", folder / "to");
                                 EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
                                 EXPECT_EQ(modeOf(folder / "to"), 0005u);
                                 EXPECT_TRUE(removeItem(folder / "to").succeeded);
                               }),
            0);
}

TEST_F(CopyDepth, LeavesNoDescriptorOpen) {
  writeFile(folder / "from/a/b/c/d/e/f/g", "x");
  fs::create_hard_link(folder / "from/a/b/c/d/e/f/g", folder / "from/b");
  makeSocket(folder / "from/c");
  const std::size_t before = openDescriptors();
  EXPECT_FALSE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_FALSE(copyItem(folder / "from", folder / "nothing/to").succeeded);
  EXPECT_FALSE(copyItem(folder / "nothing", folder / "to2").succeeded);
  fs::remove(folder / "from/c");
  EXPECT_TRUE(copyItem(folder / "from", folder / "to3").succeeded);
  EXPECT_EQ(openDescriptors(), before);
}

/// The lowest descriptors that are open, more than a copy needs.
std::set<int> descriptors() {
  std::set<int> open;
  for (int descriptor = 0; descriptor < 100; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) open.insert(descriptor);
  }
  return open;
}

TEST_F(CopyDepth, KeepsItsDescriptorsFromProgramsStartedMeanwhile) {
  writeFile(folder / "from/a/b/c", "x");
  const std::set<int> before = descriptors();
  std::size_t opened = 0;
  RecordingDelegate delegate;
  delegate.shouldCopy = [&](NSFileManager&, const std::string&, const Ref<NSURL>&) {
    for (const int descriptor : descriptors()) {
      if (before.contains(descriptor)) continue;
      ++opened;
      EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << descriptor;
    }
    return true;
  };
  EXPECT_TRUE(copyItem(folder / "from", folder / "to", &delegate).succeeded);
  EXPECT_GT(opened, 0U);
}

}  // namespace
}  // namespace zk::test
