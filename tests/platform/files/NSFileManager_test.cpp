#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "FileItems.h"
#include "objects/NSAutoreleasePool.h"
#include "support/ForwardingSystem.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class NoFileManagers : public ForwardingSystem {
 public:
  Ref<NSFileManager> makeFileManager() override { return nullptr; }
};

TEST(NSFileManager, SharesOneDefaultManager) {
  ASSERT_NE(NSFileManager::defaultManager(), nullptr);
  EXPECT_EQ(NSFileManager::defaultManager(), NSFileManager::defaultManager());
}

TEST(NSFileManager, MakesANewManagerForEachCaller) {
  const NSAutoreleasePool pool;
  const Ref<NSFileManager> first = NSFileManager::fileManager();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, NSFileManager::fileManager());
  EXPECT_NE(first, NSFileManager::defaultManager());
}

TEST(NSFileManager, LivesUntilTheScopeItWasMadeInCloses) {
  std::weak_ptr<NSFileManager> made;
  {
    const NSAutoreleasePool pool;
    made = NSFileManager::fileManager();
    EXPECT_FALSE(made.expired());
  }
  EXPECT_TRUE(made.expired());
}

TEST(NSFileManager, IsAbsentIfTheSystemMakesNone) {
  NoFileManagers system;
  const System::Scope scope(system);
  EXPECT_EQ(NSFileManager::fileManager(), nullptr);
}

class FileExists : public ::testing::Test {
 protected:
  bool exists(const fs::path& path) {
    return fileManager.fileExistsAtPath(NSString::stringWithBytes(path.string()), &isDirectory);
  }

  TemporaryFolder folder;
  NSFileManager fileManager;
  bool isDirectory = false;
};

TEST_F(FileExists, DistinguishesAFileFromAFolder) {
  writeFile(folder / "file", "x");
  isDirectory = true;
  EXPECT_TRUE(exists(folder / "file"));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(exists(folder.path()));
  EXPECT_TRUE(isDirectory);
}

TEST_F(FileExists, FollowsLinks) {
  fs::create_directory(folder / "inner");
  fs::create_symlink("inner", folder / "link");
  fs::create_symlink("nothing", folder / "dangling");
  EXPECT_TRUE(exists(folder / "link"));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(exists(folder / "dangling"));
}

TEST_F(FileExists, LeavesTheAnswerAloneIfNothingIsThere) {
  isDirectory = true;
  EXPECT_FALSE(exists(folder / "nothing"));
  EXPECT_TRUE(isDirectory);
}

TEST_F(FileExists, FindsNothingForAnAbsentOrEmptyPathOrOneWithAZeroByte) {
  EXPECT_FALSE(fileManager.fileExistsAtPath(nullptr));
  EXPECT_FALSE(fileManager.fileExistsAtPath(""_ns));
  EXPECT_FALSE(fileManager.fileExistsAtPath(NSString::stringWithBytes(folder.path().string() + std::string(1, '\0'))));
}

TEST_F(FileExists, KeepsTheErrorNumber) {
  errno = ERANGE;
  EXPECT_FALSE(exists(folder / "nothing"));
  EXPECT_EQ(errno, ERANGE);
}

TEST_F(FileExists, WorksWithoutAPlaceForTheAnswer) { EXPECT_TRUE(fileManager.fileExistsAtPath(folder.url()->path())); }

}  // namespace
}  // namespace zk::test
