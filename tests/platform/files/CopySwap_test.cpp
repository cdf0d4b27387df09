#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "FileItems.h"
#include "files/ItemCopy.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "support/TreeDescription.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// Changes that somebody makes to the source or destination during a copy, to lead it elsewhere.
class CopySwap : public ::testing::Test {
 protected:
  CopySwap() {
    writeFile(folder / "outside/file", "untouched");
    writeFile(folder / "outside/a/file", "untouched");
    outside = describeTree(folder / "outside");
  }

  /// Does `swap` once, when the delegate is asked about the source `name`, and then removes the item at the
  /// destination.
  template <class Swap>
  void during(const std::string& name, Swap swap) {
    delegate.shouldCopy = [this, name, swap](NSFileManager& fileManager, const std::string& source,
                                             const Ref<NSURL>& destination) {
      if (source == (folder / name).string()) swap();
      fileManager.removeItemAtURL(destination);
      return true;
    };
  }

  Outcome copy() { return copyItem(folder / "from", folder / "to", &delegate); }
  void expectOutsideUntouched() { EXPECT_EQ(describeTree(folder / "outside"), outside); }

  TemporaryFolder folder;
  RecordingDelegate delegate;
  TreeDescription outside;
};

TEST_F(CopySwap, ALinkInPlaceOfADestinationFolderLeadsNowhere) {
  writeFile(folder / "from/a/file", "x");
  during("from/a/file", [this] {
    fs::rename(folder / "to/a", folder / "moved");
    fs::create_directory_symlink(folder / "outside", folder / "to/a");
  });
  const Outcome outcome = copy();
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "moved/file"), "x");
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 70);
}

TEST_F(CopySwap, ALinkInPlaceOfTheTopOfTheDestinationLeadsNowhere) {
  writeFile(folder / "from/a/file", "x");
  during("from/a", [this] {
    fs::rename(folder / "to", folder / "moved");
    fs::create_directory_symlink(folder / "outside", folder / "to");
  });
  EXPECT_FALSE(copy().succeeded);
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "moved/a/file"), "x");
}

TEST_F(CopySwap, ALinkInPlaceOfTheFolderAroundTheDestinationLeadsNowhere) {
  writeFile(folder / "from/file", "x");
  fs::create_directory(folder / "parent");
  during("from", [this] {
    fs::rename(folder / "parent", folder / "moved");
    fs::create_directory_symlink("outside", folder / "parent");
  });
  copyItem(folder / "from", folder / "parent/file", &delegate);
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "moved/file/file"), "x");
}

TEST_F(CopySwap, ARemovalAskedForDuringACopyStaysInTheOpenFolder) {
  writeFile(folder / "from/file", "x");
  fs::create_directory(folder / "parent");
  writeFile(folder / "parent/file", "old");
  during("from", [this] {
    fs::rename(folder / "parent", folder / "moved");
    fs::create_directory_symlink("outside", folder / "parent");
  });
  copyItem(folder / "from/file", folder / "parent/file", nullptr);
  copyItem(folder / "from", folder / "parent/file", &delegate);
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "moved/file/file"), "x");
}

TEST_F(CopySwap, ALinkInPlaceOfASourceFolderLeadsNowhere) {
  writeFile(folder / "from/a/file", "x");
  during("from/a", [this] {
    fs::rename(folder / "from/a", folder / "moved");
    fs::create_directory_symlink(folder / "outside", folder / "from/a");
  });
  EXPECT_TRUE(copy().succeeded);
  EXPECT_TRUE(fs::is_symlink(folder / "to/a"));
}

TEST_F(CopySwap, ALinkInPlaceOfASourceFolderBeingCopiedLeadsNowhere) {
  writeFile(folder / "from/a/file", "x");
  during("from/a/file", [this] {
    fs::rename(folder / "from/a", folder / "moved");
    fs::create_directory_symlink(folder / "outside", folder / "from/a");
  });
  copy();
  EXPECT_EQ(readFile(folder / "to/a/file"), "x");
}

TEST_F(CopySwap, AMovedDeepFolderEndsTheCopy) {
  for (const char* side : {"from", "to"}) {
    writeFile(folder / "from/1/2/3/4/5/6/7/8/9/file", "x");
    writeFile(folder / "from/2", "x");
    // So deep that the outer folders are no longer open: the way up would lead to another folder.
    during("from/1/2/3/4/5/6/7/8/9/file", [this, side] { fs::rename(folder / side / "1/2/3", folder / "outside/3"); });
    delegate.proceeds = true;
    const Outcome outcome = copy();
    EXPECT_FALSE(outcome.succeeded) << side;
    EXPECT_EQ(outcome.code(), 70) << side;
    EXPECT_FALSE(isThere(folder / "to/2")) << side;
    fs::remove_all(folder / "outside/3");
    fs::remove_all(folder / "from");
    fs::remove_all(folder / "to");
  }
}

TEST_F(CopySwap, AnotherFileInPlaceOfTheFirstHardLinkIsNotTakenForIt) {
  writeFile(folder / "from/a/first", "x");
  fs::create_hard_link(folder / "from/a/first", folder / "from/second");
  during("from/second", [this] {
    fs::rename(folder / "to/a/first", folder / "moved");
    fs::create_hard_link(folder / "outside/file", folder / "to/a/first");
  });
  EXPECT_EQ(copy().code(), 70);
  EXPECT_FALSE(isThere(folder / "to/second"));
  EXPECT_EQ(readFile(folder / "outside/file"), "untouched");
}

TEST_F(CopySwap, ALinkInPlaceOfTheFolderAroundTheFirstHardLinkIsNotFollowed) {
  writeFile(folder / "from/a/file", "x");
  fs::create_hard_link(folder / "from/a/file", folder / "from/second");
  during("from/second", [this] {
    fs::rename(folder / "to/a", folder / "moved");
    fs::create_directory_symlink(folder / "moved", folder / "to/a");
  });
  EXPECT_FALSE(copy().succeeded);
  EXPECT_FALSE(isThere(folder / "to/second"));
}

TEST_F(CopySwap, ARemovalAfterANestedCopyStaysInTheOpenFolder) {
  writeFile(folder / "from/file", "x");
  writeFile(folder / "other", "x");
  fs::create_directory(folder / "parent");
  bool isFirst = true;
  delegate.shouldCopy = [&](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    if (!std::exchange(isFirst, false)) return true;
    EXPECT_TRUE(fileManager.copyItemAtURL(folder.url("other"), folder.url("otherCopy")));
    writeFile(folder / "parent/file", "in the way");
    fs::rename(folder / "parent", folder / "moved");
    fs::create_directory_symlink("outside", folder / "parent");
    EXPECT_TRUE(fileManager.removeItemAtURL(destination));
    return true;
  };
  copyItem(folder / "from", folder / "parent/file", &delegate);
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "moved/file/file"), "x");
}

TEST_F(CopySwap, ARemovalAfterTheCopyUsesThePathAgain) {
  writeFile(folder / "from", "x");
  NSFileManager fileManager;
  fileManager.setDelegate(&delegate);
  EXPECT_TRUE(fileManager.copyItemAtURL(folder.url("from"), folder.url("to")));
  EXPECT_TRUE(fileManager.removeItemAtURL(folder.url("to")));
  EXPECT_FALSE(isThere(folder / "to"));
}

/// The longest time, in seconds, for something that would hang if it failed; less than ctest gives a test.
constexpr unsigned kLongestTime = 300;

/// Lets a child process swap two items all the time while this one copies "from" again and again.
class CopyRace : public CopySwap {
 protected:
  void race(const fs::path& one, const fs::path& other, const std::function<void(const Outcome&)>& check) {
    const ChildProcess swapper([&] {
      while (true) exchangeItems(one, other);
    });
    EXPECT_EQ(statusInChild([&] {
                neverWaitForTheDisk();
                ::alarm(kLongestTime);
                for (int count = 0; count < 2000; ++count) {
                  check(copyItem(folder / "from", folder / "to"));
                  removeItem(folder / "to");
                }
              }),
              0);
  }
};

TEST_F(CopyRace, ALinkNeverWinsAgainstASourceFolder) {
  writeFile(folder / "from/a/own", "x");
  fs::create_directory_symlink(folder / "outside", folder / "link");
  race(folder / "from/a", folder / "link", [this](const Outcome& outcome) {
    // POSIX lets a system say that a link is no folder, or that it is a link.
    const long code = outcome.code();
    EXPECT_TRUE(outcome.succeeded || code == 20 || code == 22 || code == 62) << code;
    EXPECT_FALSE(!fs::is_symlink(folder / "to/a") && isThere(folder / "to/a/file"));
  });
}

TEST_F(CopySwap, AnythingElseInPlaceOfASourceFileIsNoticedAtOnce) {
  fs::create_symlink("file", folder / "link");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(statusInChild([&] {
              ::alarm(kLongestTime);
              const std::pair<const char*, int> others[] = {{"fifo", ESTALE}, {"link", ELOOP}};
              for (const auto& [name, error] : others) {
                struct stat status;
                FileDescriptor file;
                const std::string other = folder / name;
                EXPECT_EQ(openFile({AT_FDCWD, other.c_str()}, file, status).number(), error) << name;
              }
            }),
            0);
}

TEST_F(CopySwap, ALinkInPlaceOfAnItemBeingRemovedIsNotFollowed) {
  // By the time it is removed, the item is a link. The link is removed, and nothing else.
  writeFile(folder / "from/a", "x");
  during("from/a", [this] { fs::create_directory_symlink(folder / "outside", folder / "to/a"); });
  EXPECT_TRUE(copy().succeeded);
  expectOutsideUntouched();
  EXPECT_EQ(readFile(folder / "to/a"), "x");
}

}  // namespace
}  // namespace zk::test
