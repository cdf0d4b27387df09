#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FileItems.h"
#include "support/TreeDescription.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CopyDelegate : public ::testing::Test {
 protected:
  /// The sources that the delegate was asked about, as paths below the folder.
  std::vector<std::string> asked() const { return relative(delegate.questions); }
  std::vector<std::string> failed() const { return relative(delegate.failures); }

  std::vector<std::string> relative(const std::vector<RecordingDelegate::Question>& questions) const {
    std::vector<std::string> paths;
    paths.reserve(questions.size());
    for (const auto& question : questions) paths.push_back(fs::path(question.first).lexically_relative(folder.path()));
    return paths;
  }

  Outcome copy() { return copyItem(folder / "from", folder / "to", &delegate); }

  TemporaryFolder folder;
  RecordingDelegate delegate;
};

TEST_F(CopyDelegate, IsAskedAboutItemsInByteOrderAndAboutAFolderBeforeItsContents) {
  for (const char* name : {"from/b/z", "from/b/a/deep", "from/b.c", "from/C", "from/\U0001F600", "from/\uFFFD"}) {
    writeFile(folder / name, "x");
  }
  EXPECT_TRUE(copy().succeeded);
  EXPECT_THAT(asked(), ElementsAre("from", "from/C", "from/b", "from/b/a", "from/b/a/deep", "from/b/z", "from/b.c",
                                   "from/\uFFFD", "from/\U0001F600"));
  EXPECT_THAT(failed(), IsEmpty());
}

TEST_F(CopyDelegate, IsToldWhereEachItemGoes) {
  writeFile(folder / "from/a/b", "x");
  EXPECT_TRUE(copy().succeeded);
  for (const auto& [source, destination] : delegate.questions) {
    EXPECT_EQ(fs::path(source).lexically_relative(folder / "from"),
              fs::path(destination).lexically_relative(folder / "to"));
  }
}

TEST_F(CopyDelegate, IsAskedBeforeTheItemIsCopied) {
  writeFile(folder / "from/a/b", "x");
  delegate.shouldCopy = [](NSFileManager&, const std::string&, const Ref<NSURL>& destination) {
    const fs::path path = destination->path()->bytes();
    EXPECT_FALSE(isThere(path));
    EXPECT_TRUE(isThere(path.parent_path()));
    return true;
  };
  EXPECT_TRUE(copy().succeeded);
}

TEST_F(CopyDelegate, IsGivenTheManagerThatAsks) {
  writeFile(folder / "from", "x");
  NSFileManager fileManager;
  delegate.shouldCopy = [&](NSFileManager& asking, const std::string&, const Ref<NSURL>&) {
    EXPECT_EQ(&asking, &fileManager);
    return true;
  };
  fileManager.setDelegate(&delegate);
  EXPECT_TRUE(fileManager.copyItemAtURL(folder.url("from"), folder.url("to")));
  EXPECT_EQ(delegate.questions.size(), 1u);
}

TEST_F(CopyDelegate, IsNotAskedOnceItHasBeenRemoved) {
  writeFile(folder / "from", "x");
  NSFileManager fileManager;
  fileManager.setDelegate(&delegate);
  fileManager.setDelegate(nullptr);
  EXPECT_TRUE(fileManager.copyItemAtURL(folder.url("from"), folder.url("to")));
  EXPECT_THAT(delegate.questions, IsEmpty());
}

TEST_F(CopyDelegate, CanLeaveAFolderOutWithEverythingInIt) {
  writeFile(folder / "from/a/inside", "x");
  writeFile(folder / "from/b", "x");
  delegate.shouldCopy = [](NSFileManager&, const std::string& source, const Ref<NSURL>&) {
    return !source.ends_with("/a");
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_THAT(asked(), ElementsAre("from", "from/a", "from/b"));
  EXPECT_FALSE(isThere(folder / "to/a"));
  EXPECT_TRUE(isThere(folder / "to/b"));
}

TEST_F(CopyDelegate, CanLeaveEverythingOut) {
  writeFile(folder / "from/a", "x");
  delegate.shouldCopy = [](NSFileManager&, const std::string&, const Ref<NSURL>&) { return false; };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(CopyDelegate, IsAskedEvenAboutAMissingSource) {
  writeFile(folder / "to", "old");
  delegate.shouldCopy = [](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    EXPECT_TRUE(fileManager.removeItemAtURL(destination));
    return true;
  };
  const Outcome outcome = copy();
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 2);
  EXPECT_EQ(outcome.path(), (folder / "from").string());
  EXPECT_THAT(asked(), ElementsAre("from"));
  EXPECT_THAT(failed(), ElementsAre("from"));
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(CopyDelegate, IsAskedEvenWhenTheDestinationsFolderIsMissing) {
  writeFile(folder / "from", "x");
  const Outcome outcome = copyItem(folder / "from", folder / "nothing/to", &delegate);
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 2);
  EXPECT_THAT(asked(), ElementsAre("from"));
  EXPECT_THAT(delegate.codes, ElementsAre(2));
}

TEST_F(CopyDelegate, StopsTheCopyAtTheFirstErrorWhichLeavesWhatWasWritten) {
  writeFile(folder / "from/a", "x");
  makeSocket(folder / "from/b");
  writeFile(folder / "from/c", "x");
  const Outcome outcome = copy();
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 45);
  EXPECT_TRUE(areEqual(outcome.error->domain(), NSPOSIXErrorDomain));
  EXPECT_EQ(outcome.path(), (folder / "from/b").string());
  EXPECT_THAT(asked(), ElementsAre("from", "from/a", "from/b"));
  EXPECT_THAT(failed(), ElementsAre("from/b"));
  EXPECT_EQ(delegate.failures[0].second, (folder / "to/b").string());
  EXPECT_EQ(readFile(folder / "to/a"), "x");
  EXPECT_FALSE(isThere(folder / "to/c"));
}

TEST_F(CopyDelegate, CanGoOnAfterAnError) {
  writeFile(folder / "from/a", "x");
  makeSocket(folder / "from/b");
  fs::create_directory(folder / "from/c");
  makeSocket(folder / "from/c/d");
  writeFile(folder / "from/e", "x");
  delegate.proceeds = true;
  EXPECT_TRUE(copy().succeeded);
  EXPECT_THAT(asked(), ElementsAre("from", "from/a", "from/b", "from/c", "from/c/d", "from/e"));
  EXPECT_THAT(failed(), ElementsAre("from/b", "from/c/d"));
  EXPECT_THAT(delegate.codes, ElementsAre(45, 45));
  EXPECT_EQ(readFile(folder / "to/e"), "x");
}

TEST_F(CopyDelegate, IsNotAskedAboutTheContentsOfAFolderThatCouldNotBeMade) {
  writeFile(folder / "from/a/inside", "x");
  writeFile(folder / "from/b", "x");
  delegate.proceeds = true;
  delegate.shouldCopy = [](NSFileManager&, const std::string& source, const Ref<NSURL>& destination) {
    if (source.ends_with("/a")) writeFile(destination->path()->bytes(), "in the way");
    return true;
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_THAT(asked(), ElementsAre("from", "from/a", "from/b"));
  EXPECT_THAT(delegate.codes, ElementsAre(17));
  EXPECT_EQ(readFile(folder / "to/a"), "in the way");
}

TEST_F(CopyDelegate, IsNotNeeded) {
  writeFile(folder / "from/a", "x");
  EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_EQ(readFile(folder / "to/a"), "x");
  EXPECT_EQ(copyItem(folder / "nothing", folder / "to2").code(), 2);
  NSFileManager fileManager;
  EXPECT_FALSE(fileManager.copyItemAtURL(folder.url("nothing"), folder.url("to2")));
}

TEST_F(CopyDelegate, NothingIsOverwrittenWithoutADelegate) {
  writeFile(folder / "from", "new");
  writeFile(folder / "to", "old");
  EXPECT_EQ(copyItem(folder / "from", folder / "to").code(), 17);
  EXPECT_EQ(readFile(folder / "to"), "old");
  fs::create_symlink("elsewhere", folder / "link");
  EXPECT_EQ(copyItem(folder / "from", folder / "link").code(), 17);
  EXPECT_FALSE(isThere(folder / "elsewhere"));
  fs::create_directory(folder / "folder");
  EXPECT_EQ(copyItem(folder / "folder", folder / "folder").code(), 17);
}

TEST_F(CopyDelegate, CanReplaceAnExistingItemByRemovingItFirst) {
  writeFile(folder / "from/a", "new");
  writeFile(folder / "to/b/c", "old");
  delegate.shouldCopy = [](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    fileManager.removeItemAtURL(destination);
    return true;
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
}

TEST_F(CopyDelegate, MayRemoveOtherItemsWhileItIsAsked) {
  writeFile(folder / "from/a", "new");
  writeFile(folder / "other/a", "old");
  delegate.shouldCopy = [this](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    writeFile(destination->path()->bytes(), "in the way");
    EXPECT_TRUE(fileManager.removeItemAtURL(folder.url("other/a")));
    EXPECT_TRUE(isThere(destination->path()->bytes()));
    return false;
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_FALSE(isThere(folder / "other/a"));
}

TEST_F(CopyDelegate, MayCopyWithTheSameManagerWhileItIsAsked) {
  writeFile(folder / "from/a", "x");
  writeFile(folder / "other/b", "y");
  bool isCopying = false;
  delegate.shouldCopy = [&](NSFileManager& fileManager, const std::string&, const Ref<NSURL>& destination) {
    if (!isCopying) {
      isCopying = true;
      EXPECT_TRUE(fileManager.copyItemAtURL(folder.url("other"), folder.url("otherCopy")));
      // Another copy asks in between, and makes something for the removal below to find.
      writeFile(destination->path()->bytes(), "in the way");
    }
    fileManager.removeItemAtURL(destination);
    return true;
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_EQ(readFile(folder / "to/a"), "x");
  EXPECT_EQ(readFile(folder / "otherCopy/b"), "y");
}

TEST_F(CopyDelegate, RefusesToCopyAFolderIntoItself) {
  writeFile(folder / "from/a", "x");
  const Outcome outcome = copyItem(folder / "from", folder / "from/to", &delegate);
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 22);
  EXPECT_FALSE(isThere(folder / "from/to"));
}

TEST_F(CopyDelegate, CanGoOnWithoutCopyingTheDestinationIntoItself) {
  writeFile(folder / "from/inner/a", "x");
  writeFile(folder / "from/z", "x");
  delegate.proceeds = true;
  EXPECT_TRUE(copyItem(folder / "from", folder / "from/inner/to", &delegate).succeeded);
  EXPECT_THAT(asked(), ElementsAre("from", "from/inner", "from/z"));
  EXPECT_THAT(delegate.codes, ElementsAre(22));
  EXPECT_FALSE(isThere(folder / "from/inner/to/inner"));
  EXPECT_EQ(readFile(folder / "from/inner/to/z"), "x");
}

TEST_F(CopyDelegate, RefusesASourcePathWithAZeroByte) {
  writeFile(folder / "from", "x");
  EXPECT_EQ(copyItem((folder / "from").string() + '\0' + "x", folder / "to", &delegate).code(), 22);
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(CopyDelegate, RefusesADestinationWhoseLastPartIsNotAName) {
  writeFile(folder / "from", "x");
  EXPECT_EQ(copyItem(folder / "from", "/").code(), 22);
  EXPECT_EQ(copyItem(folder / "from", folder / "..").code(), 22);
  EXPECT_EQ(copyItem(folder / "from", folder.path().string() + "/to" + '\0' + "x").code(), 22);
}

TEST_F(CopyDelegate, IsAskedAboutPathsWithSingleSlashesWhateverTheTopEndsWith) {
  writeFile(folder / "from/a", "x");
  EXPECT_TRUE(copyItem((folder / "from").string() + "//", (folder / "to").string() + "/", &delegate).succeeded);
  EXPECT_EQ(delegate.questions[1].first, (folder / "from/a").string());
  EXPECT_EQ(delegate.questions[1].second, (folder / "to/a").string());
  EXPECT_EQ(readFile(folder / "to/a"), "x");
}

TEST_F(CopyDelegate, IsToldOfAFoldersOwnErrorAfterItsContents) {
  writeFile(folder / "from/a/b", "x");
  delegate.proceeds = true;
  delegate.shouldCopy = [this](NSFileManager&, const std::string& source, const Ref<NSURL>&) {
    // The copy of the folder is moved away while its item is copied, and something else takes its place.
    if (source.ends_with("/b")) {
      fs::rename(folder / "to/a", folder / "moved");
      fs::create_directory(folder / "to/a");
    }
    return true;
  };
  EXPECT_TRUE(copy().succeeded);
  EXPECT_THAT(failed(), ElementsAre("from/a"));
  EXPECT_THAT(delegate.codes, ElementsAre(70));
  EXPECT_EQ(readFile(folder / "moved/b"), "x");
}

}  // namespace
}  // namespace zk::test
