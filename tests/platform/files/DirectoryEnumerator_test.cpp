#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "FileItems.h"
#include "files/ResourceValues.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DirectoryEnumerator : public ::testing::Test {
 protected:
  Ref<NSDirectoryEnumerator> enumerator(const Ref<NSURL>& url, unsigned long options = 0) {
    NSFileManager fileManager;
    return fileManager.enumeratorAtURL(url, {NSURLIsPackageKey}, options);
  }

  /// The items still to come, as paths relative to `top`.
  std::vector<std::string> rest(const Ref<NSDirectoryEnumerator>& items, const fs::path& top) {
    std::vector<std::string> paths;
    while (const Ref<NSURL> item = items->nextObject()) {
      paths.push_back(item->path()->bytes().substr(top.string().size() + 1));
    }
    return paths;
  }

  std::vector<std::string> all(unsigned long options = 0) {
    return rest(enumerator(folder.url(), options), folder.path());
  }

  TemporaryFolder folder;
};

TEST_F(DirectoryEnumerator, YieldsAFolderBeforeItsContentsAndSortsByTheBytesOfNames) {
  writeFile(folder / "b/z", "");
  writeFile(folder / "b/a/deep", "");
  writeFile(folder / "b.c", "");
  writeFile(folder / "C", "");
  writeFile(folder / ".hidden/x", "");
  writeFile(folder / "\U0001F600", "");
  writeFile(folder / "\uFFFD", "");
  EXPECT_THAT(all(),
              ElementsAre(".hidden", ".hidden/x", "C", "b", "b/a", "b/a/deep", "b/z", "b.c", "\uFFFD", "\U0001F600"));
}

TEST_F(DirectoryEnumerator, YieldsNothingForAnEmptyFolder) { EXPECT_THAT(all(), IsEmpty()); }

TEST_F(DirectoryEnumerator, YieldsLinksWithoutEnteringThem) {
  writeFile(folder / "real/file", "");
  fs::create_directory_symlink("real", folder / "link");
  fs::create_directory_symlink(".", folder / "loop");
  fs::create_symlink("nothing", folder / "dangling");
  EXPECT_THAT(all(), ElementsAre("dangling", "link", "loop", "real", "real/file"));
}

TEST_F(DirectoryEnumerator, FollowsALinkAtTheTop) {
  writeFile(folder / "real/file", "");
  fs::create_directory_symlink("real", folder / "link");
  EXPECT_THAT(rest(enumerator(folder.url("link")), folder / "link"), ElementsAre("file"));
}

TEST_F(DirectoryEnumerator, YieldsPackagesWithoutEnteringThemWhenAskedTo) {
  writeFile(folder / "One.app/Contents/file", "");
  writeFile(folder / "folder/Two.KEXT/file", "");
  writeFile(folder / "folder/Three.framework/file", "");
  EXPECT_THAT(
      all(NSDirectoryEnumerationSkipsPackageDescendants),
      ElementsAre("One.app", "folder", "folder/Three.framework", "folder/Three.framework/file", "folder/Two.KEXT"));
  EXPECT_THAT(all(),
              ElementsAre("One.app", "One.app/Contents", "One.app/Contents/file", "folder", "folder/Three.framework",
                          "folder/Three.framework/file", "folder/Two.KEXT", "folder/Two.KEXT/file"));
}

TEST_F(DirectoryEnumerator, EntersNoFolderWhenAskedNotTo) {
  writeFile(folder / "a.app/x", "");
  writeFile(folder / "b/x", "");
  writeFile(folder / "c", "");
  EXPECT_THAT(all(NSDirectoryEnumerationSkipsSubdirectoryDescendants), ElementsAre("a.app", "b", "c"));
}

TEST_F(DirectoryEnumerator, EntersAPackageAtTheTop) {
  writeFile(folder / "One.app/file", "");
  EXPECT_THAT(
      rest(enumerator(folder.url("One.app"), NSDirectoryEnumerationSkipsPackageDescendants), folder / "One.app"),
      ElementsAre("file"));
}

TEST_F(DirectoryEnumerator, IsAbsentForAnythingButAReadableFolder) {
  writeFile(folder / "file", "");
  EXPECT_EQ(enumerator(folder.url("nothing")), nullptr);
  EXPECT_EQ(enumerator(folder.url("file")), nullptr);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 fs::create_directory(folder / "closed");
                                 setMode(folder / "closed", 0300);
                                 EXPECT_EQ(enumerator(folder.url("closed")), nullptr);
                               }),
            0);
}

TEST_F(DirectoryEnumerator, YieldsAFolderThatCannotBeReadWithoutEnteringIt) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "a/file", "");
                                 writeFile(folder / "b/file", "");
                                 setMode(folder / "a", 0);
                                 EXPECT_THAT(all(), ElementsAre("a", "b", "b/file"));
                               }),
            0);
}

TEST_F(DirectoryEnumerator, ReadsAFolderJustBeforeItYieldsIt) {
  writeFile(folder / "a", "");
  writeFile(folder / "b/file", "");
  writeFile(folder / "c", "");
  const Ref<NSDirectoryEnumerator> items = enumerator(folder.url());
  EXPECT_EQ(items->nextObject()->lastPathComponent()->bytes(), "a");
  writeFile(folder / "b/later", "");
  EXPECT_EQ(items->nextObject()->lastPathComponent()->bytes(), "b");
  writeFile(folder / "b/too late", "");
  EXPECT_THAT(rest(items, folder.path()), ElementsAre("b/file", "b/later", "c"));
}

TEST_F(DirectoryEnumerator, GoesOnWhenAFolderIsRemovedUnderIt) {
  writeFile(folder / "a/inner/file", "");
  writeFile(folder / "b", "");
  const Ref<NSDirectoryEnumerator> items = enumerator(folder.url());
  EXPECT_EQ(items->nextObject()->lastPathComponent()->bytes(), "a");
  fs::remove_all(folder / "a");
  EXPECT_THAT(rest(items, folder.path()), ElementsAre("a/inner", "b"));
}

TEST_F(DirectoryEnumerator, StaysAtItsEnd) {
  fs::create_directory(folder / "a");
  const Ref<NSDirectoryEnumerator> items = enumerator(folder.url());
  EXPECT_NE(items->nextObject(), nullptr);
  EXPECT_EQ(items->nextObject(), nullptr);
  writeFile(folder / "a/b", "");
  EXPECT_EQ(items->nextObject(), nullptr);
}

TEST_F(DirectoryEnumerator, HoldsNoDescriptorBetweenTwoItems) {
  writeFile(folder / "a/b/c/d", "");
  const std::size_t before = openDescriptors();
  const Ref<NSDirectoryEnumerator> items = enumerator(folder.url());
  while (items->nextObject()) EXPECT_EQ(openDescriptors(), before);
}

TEST_F(DirectoryEnumerator, KeepsTheErrorNumber) {
  writeFile(folder / "file", "");
  errno = ERANGE;
  const Ref<NSDirectoryEnumerator> items = enumerator(folder.url());
  while (items->nextObject()) {
  }
  EXPECT_EQ(enumerator(folder.url("nothing")), nullptr);
  EXPECT_EQ(errno, ERANGE);
}

TEST_F(DirectoryEnumerator, DropsTrailingSlashesOfItsFolder) {
  writeFile(folder / "file", "");
  const Ref<NSDirectoryEnumerator> items = enumerator(std::make_shared<NSURL>(folder.path().string() + "//"));
  EXPECT_EQ(items->nextObject()->path()->bytes(), (folder / "file").string());
}

TEST_F(DirectoryEnumerator, SkipsItemsWhosePathsAreTooLong) {
  const std::string name(250, 'n');
  FileDescriptor inner(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (int depth = 0; depth < 20; ++depth) {
    ASSERT_EQ(::mkdirat(inner.get(), name.c_str(), 0700), 0);
    inner = FileDescriptor(::openat(inner.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  }
  writeFile(folder / "z", "");
  const std::vector<std::string> items = all();
  EXPECT_EQ(items.back(), "z");
  EXPECT_GT(items.size(), 15u);
  EXPECT_LT(items.size(), 20u);
  EXPECT_TRUE(removeItem(folder / name).succeeded);
}

}  // namespace
}  // namespace zk::test
