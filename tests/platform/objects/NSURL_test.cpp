#include "objects/NSURL.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace zk {
namespace {

namespace fs = std::filesystem;

std::string pathOf(std::string_view path) {
  const Ref<NSURL> url = NSURL::fileURLWithPath(NSString::stringWithBytes(path));
  return url ? url->path()->bytes() : "absent";
}

/// Changes the current folder for the length of a scope.
class CurrentFolder {
 public:
  explicit CurrentFolder(const fs::path& folder) : before_(fs::current_path()) { fs::current_path(folder); }
  ~CurrentFolder() {
    std::error_code error;
    fs::current_path(before_, error);
    EXPECT_FALSE(error);
  }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

 private:
  fs::path before_;
};

TEST(NSURL, MakesARelativePathAbsoluteInTheRootFolder) {
  const CurrentFolder root("/");
  EXPECT_EQ(NSURL::fileURLWithPath("tmp/"_ns)->path()->bytes(), "/tmp");
}

TEST(NSURL, KeepsAnAbsolutePathWithoutItsTrailingSlashes) {
  EXPECT_EQ(pathOf("/a/b"), "/a/b");
  EXPECT_EQ(pathOf("/a/b///"), "/a/b");
  EXPECT_EQ(pathOf("/"), "/");
  EXPECT_EQ(pathOf("///"), "/");
  EXPECT_EQ(pathOf("/a//b/../c"), "/a//b/../c");
  EXPECT_EQ(pathOf("/a/\xFF"), "/a/\xFF");
}

TEST(NSURL, ARelativePathStartsFromTheCurrentFolder) {
  const test::TemporaryFolder folder;
  const CurrentFolder current(folder.path());
  EXPECT_EQ(pathOf("a/b/"), folder.path().string() + "/a/b");
  EXPECT_EQ(pathOf("."), folder.path().string() + "/.");
}

TEST(NSURL, IsAbsentForARelativePathIfTheCurrentFolderIsGone) {
  const test::TemporaryFolder folder;
  const CurrentFolder current([&folder] {
    fs::create_directory(folder / "gone");
    return folder / "gone";
  }());
  fs::remove(folder / "gone");
  EXPECT_EQ(pathOf("a"), "absent");
  EXPECT_EQ(pathOf("/a"), "/a");
}

TEST(NSURL, IsAbsentForAnEmptyOrAbsentPathOrOneWithAZeroByte) {
  EXPECT_FALSE(NSURL::fileURLWithPath(nullptr));
  EXPECT_EQ(pathOf(""), "absent");
  EXPECT_EQ(pathOf(std::string_view("/a\0b", 4)), "absent");
}

TEST(NSURL, IsAbsentForAPathThatIsTooLong) {
  EXPECT_EQ(pathOf("/" + std::string(4094, 'a')), "/" + std::string(4094, 'a'));
  EXPECT_EQ(pathOf("/" + std::string(4095, 'a')), "absent");
  EXPECT_EQ(pathOf("/" + std::string(4094, 'a') + "//"), "/" + std::string(4094, 'a'));
}

TEST(NSURL, AnUncheckedPathMayBeLonger) {
  const std::string path = "/" + std::string(10'000, 'a');
  EXPECT_EQ(NSURL(path).path()->bytes(), path);
}

TEST(NSURL, TheLastComponentFollowsTheLastSlash) {
  EXPECT_EQ(NSURL("/a/b.app").lastPathComponent()->bytes(), "b.app");
  EXPECT_EQ(NSURL("/a").lastPathComponent()->bytes(), "a");
  EXPECT_EQ(NSURL("/").lastPathComponent()->bytes(), "");
}

TEST(NSURL, AppendsAComponentAsItIs) {
  const NSURL url("/a");
  EXPECT_EQ(url.URLByAppendingPathComponent("b"_ns)->path()->bytes(), "/a/b");
  EXPECT_EQ(url.URLByAppendingPathComponent("b"_ns, true)->path()->bytes(), "/a/b");
  EXPECT_EQ(url.URLByAppendingPathComponent("b"_ns, false)->path()->bytes(), "/a/b");
  EXPECT_EQ(url.URLByAppendingPathComponent(".b/c.semaphore"_ns)->path()->bytes(), "/a/.b/c.semaphore");
  EXPECT_EQ(NSURL("/").URLByAppendingPathComponent("b"_ns)->path()->bytes(), "/b");
}

TEST(NSURL, AppendingGivesNothingIfThePathIsRefused) {
  EXPECT_FALSE(NSURL("/a").URLByAppendingPathComponent(NSString::stringWithBytes(std::string(4095, 'b'))));
  EXPECT_FALSE(NSURL("/a").URLByAppendingPathComponent("b\0c"_ns));
  EXPECT_FALSE(NSURL("/a").URLByAppendingPathComponent(nullptr));
}

TEST(NSURL, IsEqualByItsPath) {
  const Ref<NSURL> url = NSURL::fileURLWithPath("/a"_ns);
  EXPECT_TRUE(url->isEqual(NSURL::fileURLWithPath("/a/"_ns)));
  EXPECT_EQ(url->hash(), NSURL::fileURLWithPath("/a/"_ns)->hash());
  EXPECT_FALSE(url->isEqual(NSURL::fileURLWithPath("/b"_ns)));
  EXPECT_FALSE(url->isEqual(nullptr));
  EXPECT_FALSE(url->isEqual("/a"_ns));
  EXPECT_EQ(url->description()->bytes(), "/a");
}

}  // namespace
}  // namespace zk
