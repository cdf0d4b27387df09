#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "FileItems.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "system/Port.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class CopyMetadata : public ::testing::Test {
 protected:
  void copy() {
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
  }

  /// Runs `body` under a mask for new items.
  template <class Body>
  void underMask(mode_t mask, Body body) {
    const mode_t before = ::umask(mask);
    body();
    ::umask(before);
  }

  TemporaryFolder folder;
};

void expectTimes(const fs::path& path, struct timespec accessed, struct timespec modified) {
  const struct stat status = statusOf(path);
  EXPECT_EQ(port::accessTime(status).tv_sec, accessed.tv_sec) << path;
  EXPECT_EQ(port::accessTime(status).tv_nsec, accessed.tv_nsec) << path;
  EXPECT_EQ(port::modificationTime(status).tv_sec, modified.tv_sec) << path;
  EXPECT_EQ(port::modificationTime(status).tv_nsec, modified.tv_nsec) << path;
}

TEST_F(CopyMetadata, KeepsEveryModeOfAFileWhateverTheMask) {
  fs::create_directory(folder / "from");
  for (const mode_t mode : Modes{0000, 0400, 0444, 0600, 0644, 0666, 0755, 0777, 01644, 02755, 04755, 06711, 07777}) {
    writeFile(folder / "from" / std::to_string(mode), "x");
    setMode(folder / "from" / std::to_string(mode), mode | readable());
  }
  for (const mode_t mask : Modes{0000, 0077, 0777}) {
    underMask(mask, [&] { copy(); });
    EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from")) << std::oct << mask;
    fs::remove_all(folder / "to");
  }
}

TEST_F(CopyMetadata, KeepsEveryModeOfAFolderWhateverTheMask) {
  for (const mode_t mode : Modes{0000, 0400, 0500, 0555, 0700, 0755, 0777, 01777, 02755, 04755, 07777}) {
    writeFile(folder / "from" / std::to_string(mode) / "inside", "x");
    setMode(folder / "from" / std::to_string(mode), mode | (readable() == 0 ? 0 : S_IRUSR | S_IXUSR));
  }
  for (const mode_t mask : Modes{0000, 0077, 0777}) {
    underMask(mask, [&] { copy(); });
    EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from")) << std::oct << mask;
    EXPECT_TRUE(removeItem(folder / "to").succeeded);
  }
}

TEST_F(CopyMetadata, KeepsModesAndAttributesAsAnUnprivilegedUserWhateverTheMask) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 for (const mode_t mode : Modes{0400, 0444, 0640, 04755, 02755}) {
                                   const fs::path file = folder / "from" / std::to_string(mode);
                                   writeFile(file, "x");
                                   EXPECT_TRUE(setAttribute(file, "user.note", "kept"));
                                   setMode(file, mode);
                                 }
                                 for (const mode_t mode : Modes{0500, 0700, 02755}) {
                                   const fs::path inner = folder / "from" / ("in" + std::to_string(mode));
                                   writeFile(inner / "file", "x");
                                   EXPECT_TRUE(setAttribute(inner, "user.note", "kept"));
                                   setMode(inner, mode);
                                 }
                                 fs::create_directory(folder / "from/unsearchable");
                                 setMode(folder / "from/unsearchable", 0400);
                                 setMode(folder / "from", 0500);
                                 for (const mode_t mask : Modes{0000, 0300, 0777}) {
                                   underMask(mask, [&] { copy(); });
                                   EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"))
                                       << std::oct << mask;
                                   EXPECT_TRUE(removeItem(folder / "to").succeeded);
                                 }
                               }),
            0);
}

TEST_F(CopyMetadata, KeepsTimesToTheNanosecond) {
  constexpr struct timespec kAccessed = {1234567890, 123456789};
  constexpr struct timespec kModified = {1111111111, 987654321};
  writeFile(folder / "from/inner/file", "some bytes");
  fs::create_symlink("nothing", folder / "from/link");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0600), 0);
  for (const char* name : {"from/inner/file", "from/inner", "from/link", "from/fifo", "from"}) {
    setTimes(folder / name, kAccessed, kModified);
  }
  copy();
  for (const char* name : {"to", "to/inner", "to/inner/file", "to/link", "to/fifo"}) {
    expectTimes(folder / name, kAccessed, kModified);
  }
}

TEST_F(CopyMetadata, KeepsTimesBeforeTheEpoch) {
  constexpr struct timespec kOld = {-86400, 5};
  writeFile(folder / "from", "x");
  setTimes(folder / "from", kOld, kOld);
  copy();
  expectTimes(folder / "to", kOld, kOld);
}

TEST_F(CopyMetadata, KeepsExtendedAttributes) {
  writeFile(folder / "from/file", "x");
  if (!setAttribute(folder / "from", "user.folder", "of the folder")) GTEST_SKIP() << "no extended attributes here";
  ASSERT_TRUE(setAttribute(folder / "from/file", "user.empty", ""));
  ASSERT_TRUE(setAttribute(folder / "from/file", "user.zeros", std::string("a\0b", 3)));
  ASSERT_TRUE(setAttribute(folder / "from/file", "user.long", std::string(2000, 'v')));
  copy();
  EXPECT_EQ(attributeOf(folder / "to", "user.folder"), "of the folder");
  EXPECT_EQ(attributeOf(folder / "to/file", "user.empty"), "");
  EXPECT_EQ(attributeOf(folder / "to/file", "user.zeros"), std::string("a\0b", 3));
  EXPECT_EQ(attributeOf(folder / "to/file", "user.long"), std::string(2000, 'v'));
}

TEST_F(CopyMetadata, KeepsExtendedAttributesOfALink) {
  fs::create_directory(folder / "from");
  fs::create_symlink("nothing", folder / "from/link");
  if (!setAttribute(folder / "from/link", "trusted.note", "of the link")) GTEST_SKIP() << "this user may not set these";
  copy();
  EXPECT_EQ(attributeOf(folder / "to/link", "trusted.note"), "of the link");
}

TEST_F(CopyMetadata, KeepsOwnerAndGroupWherePermitted) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give items away";
  writeFile(folder / "from/file", "x");
  fs::create_symlink("nothing", folder / "from/link");
  ASSERT_EQ(::mkfifo((folder / "from/fifo").c_str(), 0640), 0);
  for (const char* name : {"from/file", "from/link", "from/fifo", "from"}) {
    ASSERT_EQ(::lchown((folder / name).c_str(), 1234, 5678), 0);
  }
  setMode(folder / "from/file", 06755);
  copy();
  for (const char* name : {"to/file", "to/link", "to/fifo", "to"}) {
    EXPECT_EQ(statusOf(folder / name).st_uid, 1234u) << name;
    EXPECT_EQ(statusOf(folder / name).st_gid, 5678u) << name;
  }
  EXPECT_EQ(modeOf(folder / "to/file"), 06755u);
}

TEST_F(CopyMetadata, LeavesOutAnOwnerThatTheUserMayNotSet) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make another user's item";
  writeFile(folder / "from/file", "x");
  setMode(folder / "from/file", 0644);
  setMode(folder / "from", 0755);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 copy();
                                 EXPECT_EQ(statusOf(folder / "to/file").st_uid, ::geteuid());
                                 EXPECT_EQ(statusOf(folder / "to/file").st_gid, ::getegid());
                                 EXPECT_EQ(modeOf(folder / "to/file"), 0644u);
                                 EXPECT_EQ(modeOf(folder / "to"), 0755u);
                               }),
            0);
}

TEST_F(CopyMetadata, NeverLosesASetGroupIdBitSilently) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make another user's item";
  writeFile(folder / "from", "x");
  setMode(folder / "from", 02755);
  fs::create_directory(folder / "parent");
  ASSERT_EQ(::chown((folder / "parent").c_str(), 65534, 4242), 0);
  setMode(folder / "parent", 02777);
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 // The copy belongs to a group that this user is not in, and cannot be given to root's
                                 // group.
                                 const Outcome outcome = copyItem(folder / "from", folder / "parent/to");
                                 EXPECT_FALSE(outcome.succeeded);
                                 EXPECT_EQ(outcome.code(), 1);
                               }),
            0);
}

}  // namespace
}  // namespace zk::test
