#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class Removal : public ::testing::Test {
 protected:
  TemporaryFolder folder;
};

TEST_F(Removal, RemovesAFileAndNothingElse) {
  writeFile(folder / "file", "x");
  writeFile(folder / "other", "x");
  EXPECT_TRUE(removeItem(folder / "file").succeeded);
  EXPECT_FALSE(isThere(folder / "file"));
  EXPECT_TRUE(isThere(folder / "other"));
}

TEST_F(Removal, RemovesAWholeTree) {
  for (const char* name : {"tree/a/b/c", "tree/a/d", "tree/.hidden", "tree/e/f"}) writeFile(folder / name, "x");
  fs::create_directory(folder / "tree/empty");
  ASSERT_EQ(::mkfifo((folder / "tree/fifo").c_str(), 0600), 0);
  fs::create_symlink("nothing", folder / "tree/dangling");
  EXPECT_TRUE(removeItem(folder / "tree").succeeded);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(Removal, RemovesAnEmptyFolder) {
  fs::create_directory(folder / "empty");
  EXPECT_TRUE(removeItem(folder / "empty").succeeded);
  EXPECT_FALSE(isThere(folder / "empty"));
}

TEST_F(Removal, FailsIfNothingIsThere) {
  const Outcome outcome = removeItem(folder / "nothing");
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 2);
  EXPECT_TRUE(areEqual(outcome.error->domain(), NSPOSIXErrorDomain));
  EXPECT_EQ(outcome.path(), (folder / "nothing").string());
  EXPECT_EQ(removeItem(folder / "nothing/inside").code(), 2);
}

TEST_F(Removal, WorksWithoutAnErrorPlace) {
  NSFileManager fileManager;
  EXPECT_FALSE(fileManager.removeItemAtURL(folder.url("nothing")));
}

TEST_F(Removal, RemovesALinkButNotItsTarget) {
  writeFile(folder / "outside/file", "x");
  fs::create_directory_symlink("outside", folder / "link");
  EXPECT_TRUE(removeItem(folder / "link").succeeded);
  EXPECT_FALSE(isThere(folder / "link"));
  EXPECT_EQ(readFile(folder / "outside/file"), "x");
}

TEST_F(Removal, RemovesALinkButNotItsTargetEvenIfThePathEndsWithASlash) {
  writeFile(folder / "outside/file", "x");
  fs::create_directory_symlink("outside", folder / "link");
  EXPECT_TRUE(removeItem((folder / "link").string() + "/").succeeded);
  EXPECT_FALSE(isThere(folder / "link"));
  EXPECT_EQ(readFile(folder / "outside/file"), "x");
}

TEST_F(Removal, NeverFollowsALinkInsideATree) {
  writeFile(folder / "outside/file", "x");
  fs::create_directory(folder / "tree");
  fs::create_directory_symlink("../outside", folder / "tree/relative");
  fs::create_directory_symlink(folder / "outside", folder / "tree/absolute");
  EXPECT_TRUE(removeItem(folder / "tree").succeeded);
  EXPECT_FALSE(isThere(folder / "tree"));
  EXPECT_EQ(readFile(folder / "outside/file"), "x");
}

TEST_F(Removal, FollowsLinksOnTheWayToTheItem) {
  writeFile(folder / "real/tree/file", "x");
  fs::create_directory_symlink("real", folder / "link");
  EXPECT_TRUE(removeItem(folder / "link/tree").succeeded);
  EXPECT_FALSE(isThere(folder / "real/tree"));
  EXPECT_TRUE(isThere(folder / "real"));
}

TEST_F(Removal, MakesFoldersWritableToEmptyThem) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 for (const mode_t mode : Modes{0000, 0100, 0400, 0500, 0600, 0055}) {
                                   writeFile(folder / "tree/a/b/file", "x");
                                   setMode(folder / "tree/a/b", mode);
                                   setMode(folder / "tree/a", mode);
                                   setMode(folder / "tree", mode);
                                   const Outcome outcome = removeItem(folder / "tree");
                                   EXPECT_TRUE(outcome.succeeded) << std::oct << mode << " " << outcome.code();
                                   EXPECT_FALSE(isThere(folder / "tree"));
                                 }
                               }),
            0);
}

TEST_F(Removal, LeavesTheFolderAroundTheItemUnchanged) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed/tree/file", "x");
                                 setMode(folder / "closed", 0500);
                                 const Outcome outcome = removeItem(folder / "closed/tree");
                                 EXPECT_FALSE(outcome.succeeded);
                                 EXPECT_EQ(outcome.code(), 13);
                                 EXPECT_EQ(modeOf(folder / "closed"), 0500u);
                                 EXPECT_TRUE(isThere(folder / "closed/tree/file"));
                               }),
            0);
}

TEST_F(Removal, KeepsTheModeOfAFileWithAnotherNameOutside) {
  writeFile(folder / "tree/file", "x");
  fs::create_hard_link(folder / "tree/file", folder / "outside");
  setMode(folder / "outside", 0400);
  EXPECT_TRUE(removeItem(folder / "tree").succeeded);
  EXPECT_EQ(modeOf(folder / "outside"), 0400u);
  EXPECT_EQ(readFile(folder / "outside"), "x");
}

TEST_F(Removal, EndsAtTheFirstItemThatCannotBeRemoved) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make an item that the tree's owner cannot remove";
  writeFile(folder / "tree/m/file", "x");
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 // m is not this user's, so it can neither be emptied nor made writable.
                                 const Outcome outcome = removeItem(folder / "tree");
                                 EXPECT_FALSE(outcome.succeeded);
                                 EXPECT_EQ(outcome.code(), 13);
                                 EXPECT_EQ(outcome.path(), (folder / "tree/m").string());
                               }),
            0);
  EXPECT_TRUE(isThere(folder / "tree/m/file"));
}

TEST_F(Removal, NamesTheItemThatCouldNotBeRemovedDeepInATree) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make an item that the tree's owner cannot remove";
  writeFile(folder / "tree/m/file", "x");
  ASSERT_EQ(::chown((folder / "tree").c_str(), 65534, 65534), 0);
  EXPECT_EQ(statusUnprivileged(
                folder, [this] { EXPECT_EQ(removeItem(folder / "tree").path(), (folder / "tree/m/file").string()); }),
            0);
  EXPECT_TRUE(isThere(folder / "tree/m/file"));
}

TEST_F(Removal, RefusesAPathWhoseLastPartIsNotAName) {
  fs::create_directory(folder / "inner");
  for (const std::string& path : {std::string("/"), std::string("//"), (folder / "inner/.").string(),
                                  (folder / "inner/..").string(), folder.path().string() + "/inner" + '\0' + "x"}) {
    EXPECT_EQ(removeItem(path).code(), 22) << path;
  }
  EXPECT_TRUE(isThere(folder / "inner"));
}

TEST_F(Removal, RemovesItemsInAFolderThatMayNotBeRead) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed/tree/file", "x");
                                 setMode(folder / "closed", 0300);
                                 EXPECT_TRUE(removeItem(folder / "closed/tree").succeeded);
                                 EXPECT_FALSE(isThere(folder / "closed/tree"));
                               }),
            0);
}

TEST_F(Removal, LeavesNoDescriptorOpen) {
  const std::size_t before = openDescriptors();
  writeFile(folder / "tree/a/b/c", "x");
  removeItem(folder / "tree");
  removeItem(folder / "nothing");
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace zk::test
