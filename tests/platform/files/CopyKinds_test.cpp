#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>

#include "FileItems.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class CopyKinds : public ::testing::Test {
 protected:
  void copy() {
    const TreeDescription before = describeTree(folder / "from");
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
    EXPECT_EQ(describeTree(folder / "to"), before);
    EXPECT_EQ(describeTree(folder / "from"), before);
  }

  bool isSameItem(const fs::path& left, const fs::path& right) {
    return statusOf(left).st_ino == statusOf(right).st_ino && statusOf(left).st_dev == statusOf(right).st_dev;
  }

  TemporaryFolder folder;
};

TEST_F(CopyKinds, CopiesATreeWithEverythingInIt) {
  writeFile(folder / "from/a/b/file", "deep");
  writeFile(folder / "from/empty", "");
  writeFile(folder / "from/.hidden", "x");
  fs::create_directories(folder / "from/emptyFolder/inner");
  fs::create_symlink("a/b/file", folder / "from/link");
  copy();
}

TEST_F(CopyKinds, CopiesASingleFile) {
  writeFile(folder / "from", "content");
  setMode(folder / "from", 0751);
  copy();
}

TEST_F(CopyKinds, CopiesAnEmptyFolder) {
  fs::create_directory(folder / "from");
  copy();
}

TEST_F(CopyKinds, KeepsLinksAsLinks) {
  fs::create_directory(folder / "from");
  writeFile(folder / "outside/file", "x");
  fs::create_symlink("nothing", folder / "from/dangling");
  fs::create_symlink("loop", folder / "from/loop");
  fs::create_directory_symlink("../outside", folder / "from/relative");
  fs::create_directory_symlink(folder / "outside", folder / "from/absolute");
  fs::create_directory_symlink(".", folder / "from/itself");
  fs::create_symlink(std::string(1000, 't'), folder / "from/long");
  fs::create_symlink(std::string(255, 't'), folder / "from/usual");
  fs::create_symlink(std::string(256, 't'), folder / "from/unusual");
  const TreeDescription outside = describeTree(folder / "outside");
  copy();
  EXPECT_EQ(describeTree(folder / "outside"), outside);
}

TEST_F(CopyKinds, CopiesTheFolderThatALinkAtTheTopLeadsTo) {
  writeFile(folder / "real/file", "x");
  setMode(folder / "real", 0751);
  fs::create_directory_symlink("real", folder / "from");
  EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "real"));
  EXPECT_TRUE(S_ISLNK(statusOf(folder / "from").st_mode));
}

TEST_F(CopyKinds, CopiesAnyOtherLinkAtTheTopAsALink) {
  writeFile(folder / "file", "x");
  fs::create_symlink("file", folder / "toFile");
  fs::create_symlink("nothing", folder / "dangling");
  for (const char* name : {"toFile", "dangling"}) {
    EXPECT_TRUE(copyItem(folder / name, folder / "to").succeeded);
    EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / name));
    fs::remove(folder / "to");
    EXPECT_TRUE(copyItem((folder / name).string() + "/", folder / "to").succeeded);
    EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / name));
    fs::remove(folder / "to");
  }
}

TEST_F(CopyKinds, KeepsHardLinksInsideTheTree) {
  writeFile(folder / "from/a/first", "x");
  fs::create_directories(folder / "from/b/c");
  fs::create_hard_link(folder / "from/a/first", folder / "from/b/c/second");
  fs::create_hard_link(folder / "from/a/first", folder / "from/third");
  writeFile(folder / "from/other", "x");
  fs::create_hard_link(folder / "from/other", folder / "from/another");
  copy();
  EXPECT_TRUE(isSameItem(folder / "to/a/first", folder / "to/b/c/second"));
  EXPECT_TRUE(isSameItem(folder / "to/a/first", folder / "to/third"));
  EXPECT_FALSE(isSameItem(folder / "to/a/first", folder / "to/other"));
  EXPECT_FALSE(isSameItem(folder / "to/a/first", folder / "from/a/first"));
  EXPECT_EQ(statusOf(folder / "to/third").st_nlink, 3u);
}

TEST_F(CopyKinds, KeepsHardLinksOfLinksAndFIFOs) {
  fs::create_directory(folder / "from");
  fs::create_symlink("nothing", folder / "from/link");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0640), 0);
  for (const std::string name : {"from/link", "from/fifo"}) {
    const std::string item = folder / name;
    // Unlike link(), this never follows a link.
    if (::linkat(AT_FDCWD, item.c_str(), AT_FDCWD, (item + "2").c_str(), 0) != 0) GTEST_SKIP() << "no such links here";
  }
  copy();
  EXPECT_TRUE(isSameItem(folder / "to/link", folder / "to/link2"));
  EXPECT_TRUE(isSameItem(folder / "to/fifo", folder / "to/fifo2"));
}

TEST_F(CopyKinds, KeepsHardLinksInFoldersThatLockTheirOwnerOut) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "from/a/b/first", "x");
                                 fs::create_hard_link(folder / "from/a/b/first", folder / "from/second");
                                 setMode(folder / "from/a", 0500);
                                 setMode(folder / "from/a/b", 0500);
                                 copy();
                                 EXPECT_TRUE(isSameItem(folder / "to/a/b/first", folder / "to/second"));
                               }),
            0);
}

TEST_F(CopyKinds, MakesASeparateFileOfOneWithAnotherNameOutsideTheTree) {
  writeFile(folder / "from/file", "x");
  fs::create_hard_link(folder / "from/file", folder / "outside");
  ASSERT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_EQ(statusOf(folder / "to/file").st_nlink, 1u);
  EXPECT_EQ(statusOf(folder / "outside").st_nlink, 2u);
  EXPECT_EQ(readFile(folder / "to/file"), "x");
}

TEST_F(CopyKinds, MakesANewFIFOWithoutOpeningTheOldOne) {
  fs::create_directory(folder / "from");
  for (const mode_t mode : Modes{0600, 0644, 0000, 04777}) {
    const fs::path fifo = folder / "from" / std::to_string(mode);
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    setMode(fifo, mode);
  }
  copy();
}

TEST_F(CopyKinds, FailsAtASocket) {
  makeSocket(folder / "from");
  EXPECT_EQ(copyItem(folder / "from", folder / "to").code(), 45);
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(CopyKinds, FailsAtADevice) {
  EXPECT_EQ(copyItem("/dev/null", folder / "to").code(), 45);
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(CopyKinds, KeepsOddNames) {
  const std::string names[] = {std::string(255, 'n'), "new\nline", "back\\slash", " ", "-rf", "a\x01z", "*", "\u4E2D"};
  for (const std::string& name : names) writeFile(folder / "from/files" / name, name);
  for (const std::string& name : names) fs::create_directories(folder / "from/folders" / name / "inner");
  copy();
}

/// Makes a tree of a hundred items of all kinds that can be copied.
class MessyTree {
 public:
  MessyTree(const fs::path& top, unsigned seed) : random_(seed) {
    folders_.push_back(top);
    fs::create_directories(top);
    for (int count = 0; count < 100; ++count) addItem("item" + std::to_string(count));
    for (auto path = folders_.rbegin(); path != folders_.rend(); ++path) {
      setMode(*path, static_cast<mode_t>(0700 | pick(0100) | (pick(4) << 10)));
      setTimes(*path, anyTime(), anyTime());
    }
  }

 private:
  unsigned pick(unsigned count) { return static_cast<unsigned>(random_() % count); }
  struct timespec anyTime() {
    return {static_cast<time_t>(random_() % 2000000000), static_cast<long>(random_() % 1000000000)};
  }

  void addItem(const std::string& name) {
    const fs::path path = folders_[pick(static_cast<unsigned>(folders_.size()))] / name;
    switch (pick(6)) {
      case 0:
        fs::create_directory(path);
        folders_.push_back(path);
        return;
      case 1:
        fs::create_symlink(std::string(1 + pick(300), 'l'), path);
        break;
      case 2:
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
        setMode(path, static_cast<mode_t>(pick(01000)));
        break;
      case 3:
        if (!files_.empty()) {
          fs::create_hard_link(files_[pick(static_cast<unsigned>(files_.size()))], path);
          return;
        }
        [[fallthrough]];
      default:
        addFile(path);
    }
    setTimes(path, anyTime(), anyTime());
  }

  void addFile(const fs::path& path) {
    writeFile(path, std::string(std::size_t{pick(3)} * pick(20000), static_cast<char>(pick(256))));
    if (pick(3) == 0) {
      EXPECT_EQ(::truncate(path.c_str(), 1 + pick(2000000)), 0);
    }
    if (pick(3) == 0) setAttribute(path, "user.note", std::string(pick(100), 'v'));
    if (pick(5) == 0) setAttribute(path, "system.posix_acl_access", accessListBytes(pick(8)));
    if (::geteuid() == 0 && pick(4) == 0) {
      EXPECT_EQ(::chown(path.c_str(), pick(5000), pick(5000)), 0);
    }
    setMode(path, static_cast<mode_t>(pick(010000) | readable()));
    files_.push_back(path);
  }

  std::mt19937 random_;
  std::vector<fs::path> folders_;
  std::vector<fs::path> files_;
};

TEST_F(CopyKinds, CopiesAnyTreeSoThatNoDifferenceCanBeFound) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    SCOPED_TRACE(seed);
    const MessyTree tree(folder / "from", seed);
    copy();
    EXPECT_TRUE(removeItem(folder / "from").succeeded);
    EXPECT_TRUE(removeItem(folder / "to").succeeded);
  }
}

}  // namespace
}  // namespace zk::test
