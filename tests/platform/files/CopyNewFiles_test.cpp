#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kOther = 1234;  ///< a user and a group without privileges
constexpr const char* kAccessACL = "system.posix_acl_access";
constexpr const char* kDefaultACL = "system.posix_acl_default";

/// What files are made with in the folders of a copy, where most of them have their owner, group and mode at once.
class CopyNewFiles : public ::testing::Test {
 protected:
  void TearDown() override { ::umask(mask); }

  /// Makes files of some modes in the folder `top`.
  void makeFiles(const fs::path& top) {
    for (const mode_t mode : Modes{0400, 0600, 0644, 0755, 0777, 02755, 04755}) {
      writeFile(top / std::to_string(mode), "x");
      setMode(top / std::to_string(mode), mode);
    }
  }

  /// Copies "from" to `to` under some masks, and compares.
  void expectSameCopies(const fs::path& to) {
    for (const mode_t newMask : Modes{0000, 0027, 0777}) {
      ::umask(newMask);
      const Outcome outcome = copyItem(folder / "from", to);
      EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
      EXPECT_EQ(describeTree(to), describeTree(folder / "from")) << std::oct << newMask;
      EXPECT_TRUE(removeItem(to).succeeded);
    }
    ::umask(mask);
  }

  TemporaryFolder folder;
  const mode_t mask = ::umask(0022);
};

TEST_F(CopyNewFiles, BelongToTheOwnersOfTheOriginalsInAnyOrder) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const std::pair<uid_t, gid_t> owners[] = {{0, 0}, {kOther, 0}, {0, kOther}, {kOther, kOther}};
  for (const auto& [firstOwner, firstGroup] : owners) {
    for (const auto& [owner, group] : owners) {
      const fs::path inner = folder / "from" / (std::to_string(owner) + "-" + std::to_string(group));
      makeFiles(inner);
      for (const fs::directory_entry& file : fs::directory_iterator(inner)) {
        const mode_t mode = modeOf(file.path());
        ASSERT_EQ(::chown(file.path().c_str(), owner, group), 0);
        setMode(file.path(), mode);
      }
    }
    writeFile(folder / "from/ first", "x");
    ASSERT_EQ(::chown((folder / "from/ first").c_str(), firstOwner, firstGroup), 0);
    expectSameCopies(folder / "to");
    fs::remove_all(folder / "from");
  }
}

TEST_F(CopyNewFiles, HaveTheirAttributesAnywhereInTheTree) {
  for (const bool isFirst : {true, false}) {
    makeFiles(folder / "from/a");
    makeFiles(folder / "from/b");
    // The names are the modes in decimal digits; 1517 comes first.
    const fs::path note = folder / (isFirst ? "from/a/1517" : "from/b/493");
    const fs::path list = folder / (isFirst ? "from/a/384" : "from/b/511");
    if (!setAttribute(note, "user.note", "kept")) GTEST_SKIP() << "no extended attributes here";
    if (!setAttribute(list, kAccessACL, accessListBytes(6))) GTEST_SKIP() << "no ACLs here";
    expectSameCopies(folder / "to");
    fs::remove_all(folder / "from");
  }
}

TEST_F(CopyNewFiles, InheritNothingFromTheFolderAroundTheCopy) {
  fs::create_directory(folder / "parent");
  if (!setAttribute(folder / "parent", kDefaultACL, accessListBytes(7))) GTEST_SKIP() << "no ACLs here";
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown((folder / "parent").c_str(), kOther, kOther), 0);
  }
  setMode(folder / "parent", 02777);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 makeFiles(folder / "from/a");
                                 expectSameCopies(folder / "parent/to");
                               }),
            0);
  makeFiles(folder / "from/b");
  expectSameCopies(folder / "parent/to");
}

}  // namespace
}  // namespace zk::test
