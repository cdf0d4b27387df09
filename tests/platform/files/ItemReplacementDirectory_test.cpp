#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class ItemReplacementDirectory : public ::testing::Test {
 protected:
  Ref<NSURL> make(const Ref<NSURL>& url) {
    return fileManager.URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, url, true, &error);
  }

  TemporaryFolder folder;
  NSFileManager fileManager;
  Ref<NSError> error;
};

TEST_F(ItemReplacementDirectory, IsANewEmptyHiddenFolderBesideTheItemAndNamedAfterIt) {
  const Ref<NSURL> made = make(folder.url("Host.app"));
  ASSERT_NE(made, nullptr);
  const fs::path path = made->path()->bytes();
  EXPECT_EQ(path.parent_path(), folder.path());
  EXPECT_TRUE(path.filename().string().starts_with(".Host.app-")) << path;
  EXPECT_TRUE(fs::is_directory(path));
  EXPECT_TRUE(fs::is_empty(path));
  EXPECT_EQ(error, nullptr);
}

TEST_F(ItemReplacementDirectory, HasAnotherNameEachTime) {
  std::set<std::string> paths;
  for (int count = 0; count < 100; ++count) paths.insert(make(folder.url("Host.app"))->path()->bytes());
  EXPECT_EQ(paths.size(), 100u);
}

TEST_F(ItemReplacementDirectory, IsOnlyForItsOwnerWhateverTheUmask) {
  for (const mode_t mask : Modes{0000, 0077, 0777}) {
    const mode_t before = ::umask(mask);
    const Ref<NSURL> made = make(folder.url("Host.app"));
    ::umask(before);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(modeOf(made->path()->bytes()), 0700u) << std::oct << mask;
  }
}

TEST_F(ItemReplacementDirectory, InheritsNoModeBitFromItsFolder) {
  setMode(folder.path(), 02700);
  const Ref<NSURL> made = make(folder.url("Host.app"));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(modeOf(made->path()->bytes()), 0700u);
}

TEST_F(ItemReplacementDirectory, HasANameThatFitsHoweverLongTheItemsNameIs) {
  const Ref<NSURL> made = make(folder.url(std::string(255, 'n')));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->lastPathComponent()->length(), 255u);
  EXPECT_TRUE(made->lastPathComponent()->bytes().starts_with("." + std::string(200, 'n')));
}

TEST_F(ItemReplacementDirectory, CutsALongNameBetweenCharacters) {
  std::string name;
  for (int count = 0; count < 85; ++count) name += "\xe2\x82\xac";
  for (std::size_t shift = 0; shift < 3; ++shift) {
    const Ref<NSURL> made = make(folder.url(std::string(shift, 'n') + name.substr(0, 252)));
    ASSERT_NE(made, nullptr);
    const std::string inside = made->lastPathComponent()->bytes().substr(1 + shift);
    const std::string kept = inside.substr(0, inside.rfind('-'));
    EXPECT_EQ(kept.size() % 3, 0u);
    EXPECT_GT(kept.size(), 200u);
    EXPECT_LE(made->lastPathComponent()->length(), 255u);
  }
}

TEST_F(ItemReplacementDirectory, IsBesideTheItemEvenIfItsPathEndsWithSlashes) {
  const Ref<NSURL> made = make(std::make_shared<NSURL>((folder / "Host.app").string() + "//"));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(fs::path(made->path()->bytes()).parent_path(), folder.path());
}

TEST_F(ItemReplacementDirectory, IsBesideALinkAndNotBesideItsTarget) {
  fs::create_directories(folder / "elsewhere/Real.app");
  fs::create_directory_symlink("elsewhere/Real.app", folder / "Host.app");
  const Ref<NSURL> made = make(folder.url("Host.app"));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(fs::path(made->path()->bytes()).parent_path(), folder.path());
}

TEST_F(ItemReplacementDirectory, IsAbsentWithAnErrorIfNoFolderCanBeMade) {
  EXPECT_EQ(make(folder.url("nothing/Host.app")), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 2);
  EXPECT_TRUE(areEqual(error->domain(), NSPOSIXErrorDomain));
  EXPECT_EQ(fileManager.URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, folder.url("nothing/x"), true),
            nullptr);
}

TEST_F(ItemReplacementDirectory, IsTheOnlyDirectorySupported) {
  const Ref<NSURL> url = folder.url("Host.app");
  EXPECT_EQ(fileManager.URLForDirectory(1, NSUserDomainMask, url, true, &error), nullptr);
  EXPECT_EQ(error->code(), 22);
  EXPECT_EQ(fileManager.URLForDirectory(NSItemReplacementDirectory, 2, url, true), nullptr);
  EXPECT_EQ(fileManager.URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, url, false), nullptr);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(ItemReplacementDirectory, WorksInAFolderThatMayNotBeRead) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 fs::create_directory(folder / "closed");
                                 setMode(folder / "closed", 0300);
                                 EXPECT_NE(make(folder.url("closed/Host.app")), nullptr);
                               }),
            0);
}

TEST_F(ItemReplacementDirectory, IsNotLeftBehindIfItCannotBeOpened) {
  EXPECT_EQ(statusInChild([this] {
              // One descriptor is left, for the folder that it is made in.
              const int lowestFree = ::dup(STDIN_FILENO);
              ::close(lowestFree);
              rlimit limit{};
              ::getrlimit(RLIMIT_NOFILE, &limit);
              limit.rlim_cur = static_cast<rlim_t>(lowestFree) + 1;
              ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
              EXPECT_EQ(make(folder.url("Host.app")), nullptr);
              ASSERT_NE(error, nullptr);
              EXPECT_EQ(error->code(), 24);
            }),
            0);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(ItemReplacementDirectory, LeavesNoDescriptorOpen) {
  const std::size_t before = openDescriptors();
  make(folder.url("Host.app"));
  make(folder.url("nothing/Host.app"));
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace zk::test
