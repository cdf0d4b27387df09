#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDescription.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// Names are plain bytes here: not always UTF-8, and never the same in two spellings.
class NamesOnLinux : public ::testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string names[4] = {"\xff\xfe", "e\xcc\x81", "\xc3\xa9", "\xc3"};
};

TEST_F(NamesOnLinux, AreKeptByACopyAndFoundByARemoval) {
  for (const std::string& name : names) {
    writeFile(folder / "from/files" / name, name);
    fs::create_directories(folder / "from/folders" / name / "inner");
  }
  fs::create_symlink("\xff", folder / "from/\xfe");
  EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
  EXPECT_TRUE(removeItem(folder / "to").succeeded);
  EXPECT_FALSE(isThere(folder / "to"));
}

TEST_F(NamesOnLinux, AreSortedByTheirBytes) {
  for (const std::string& name : names) writeFile(folder / "from" / name, "x");
  writeFile(folder / "from/B", "x");
  writeFile(folder / "from/b", "x");
  RecordingDelegate delegate;
  EXPECT_TRUE(copyItem(folder / "from", folder / "to", &delegate).succeeded);
  std::vector<std::string> asked;
  for (const auto& question : delegate.questions) asked.push_back(fs::path(question.first).filename());
  EXPECT_THAT(asked, ::testing::ElementsAre("from", "B", "b", "e\xcc\x81", "\xc3", "\xc3\xa9", "\xff\xfe"));
}

TEST_F(NamesOnLinux, MayBeThoseOfABundleWithABackup) {
  NSFileManager fileManager;
  const Ref<NSURL> made =
      fileManager.URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, folder.url("\xff\xfe"), true);
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(fs::is_directory(made->path()->bytes()));
}

}  // namespace
}  // namespace zk::test
