#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "CopyContents.h"
#include "FileItems.h"
#include "support/ChildProcess.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

TEST_F(CopyContents, KeepsBytesAndHoles) {
  makeTree();
  copyAndCompare();
  EXPECT_LT(statusOf(folder / "to/hole").st_blocks, 100);
  EXPECT_LE(statusOf(folder / "to/middle").st_blocks, statusOf(folder / "from/middle").st_blocks);
}

TEST_F(CopyContents, EndsAtTheNewEndOfAFileThatBecameShorter) {
  const std::string bytes = someBytes(100000);
  writeFile(folder / "from", bytes);
  EXPECT_EQ(copyContentsOf(300000), 0);
  EXPECT_TRUE(readFile(folder / "to") == bytes);
  EXPECT_EQ(copyContentsOf(100001), 0);
  EXPECT_TRUE(readFile(folder / "to") == bytes);
}

TEST_F(CopyContents, EndsAtTheNewEndOfAFileWithAFinalHoleThatBecameShorter) {
  makeSparse(folder / "from", kMegabyte, {{0, "x"}});
  EXPECT_EQ(copyContentsOf(2 * kMegabyte), 0);
  EXPECT_EQ(statusOf(folder / "to").st_size, kMegabyte);
}

TEST_F(CopyContents, CopiesAtLeastTheOldPartOfAFileThatBecameLonger) {
  const std::string bytes = someBytes(100000);
  writeFile(folder / "from", bytes);
  EXPECT_EQ(copyContentsOf(50000), 0);
  EXPECT_TRUE(bytes.starts_with(readFile(folder / "to")));
  EXPECT_GE(statusOf(folder / "to").st_size, 50000);
}

TEST_F(CopyContents, EndsEvenIfTheFileKeepsGrowing) {
  writeFile(folder / "from", someBytes(kMegabyte));
  ChildProcess writer([this](const ChildProcess::TellReady& tellReady) {
    const FileDescriptor file(::open((folder / "from").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    const std::string bytes = someBytes(4096);
    for (int count = 0; count < 20000; ++count) {
      if (::write(file.get(), bytes.data(), bytes.size()) < 0) return;
      if (count == 10) tellReady();
    }
  });
  for (int count = 0; count < 20; ++count) {
    EXPECT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
    EXPECT_GE(statusOf(folder / "to").st_size, kMegabyte);
    fs::remove(folder / "to");
  }
}

TEST_F(CopyContents, ReportsTheErrorForAFileThatCannotBeRead) {
  writeFile(folder / "from", "x");
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed", "x");
                                 setMode(folder / "closed", 0);
                                 EXPECT_EQ(copyItem(folder / "closed", folder / "to").code(), 13);
                                 EXPECT_FALSE(isThere(folder / "to"));
                               }),
            0);
}

TEST_F(CopyContents, ReportsTheErrorForAFolderThatCannotBeRead) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 fs::create_directory(folder / "closed");
                                 setMode(folder / "closed", 0300);
                                 EXPECT_EQ(copyItem(folder / "closed", folder / "to").code(), 13);
                                 EXPECT_FALSE(isThere(folder / "to"));
                               }),
            0);
}

}  // namespace
}  // namespace zk::test
