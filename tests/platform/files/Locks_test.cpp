// When items are locked and unlocked. This system has no locks that are copied, so the test makes some up.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "FileItems.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDescription.h"
#include "system/Port.h"

namespace zk::test {

namespace {

/// What the two functions below do.
std::function<bool(Item item)> lift;
std::function<void(Item original, Item copy)> copyOne;

}  // namespace

}  // namespace zk::test

bool zk::port::liftLocks(Item item) { return test::lift && test::lift(item); }

zk::SystemError zk::port::copyLocks(Item original, const struct stat& /*status*/, Item copy) {
  if (test::copyOne) test::copyOne(original, copy);
  return {};
}

namespace zk::test {

namespace {

namespace fs = std::filesystem;

struct stat statusOfItem(Item item) {
  struct stat status = {};
  EXPECT_EQ(item.isOpen() ? ::fstat(item.descriptor, &status)
                          : ::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW),
            0);
  return status;
}

class Locks : public ::testing::Test {
 protected:
  ~Locks() override {
    lift = nullptr;
    copyOne = nullptr;
  }

  TemporaryFolder folder;
};

TEST_F(Locks, AreLiftedFromAnItemThatCannotBeRemovedOtherwise) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed/file", "x");
                                 fs::create_directory(folder / "closed/empty");
                                 for (const std::string name : {"file", "empty"}) {
                                   // The lock is that nothing may be removed from the folder around the item.
                                   setMode(folder / "closed", 0500);
                                   int count = 0;
                                   lift = [&](Item item) {
                                     ++count;
                                     EXPECT_EQ(item.name, name);
                                     return ::fchmodat(item.descriptor, ".", 0700, 0) == 0;
                                   };
                                   const Outcome outcome = removeItem(folder / "closed" / name);
                                   EXPECT_TRUE(outcome.succeeded) << outcome.code();
                                   EXPECT_FALSE(isThere(folder / "closed" / name));
                                   EXPECT_EQ(count, 1);
                                 }
                               }),
            0);
}

TEST_F(Locks, ThatCannotBeLiftedKeepTheItem) {
  EXPECT_EQ(statusUnprivileged(folder,
                               [this] {
                                 writeFile(folder / "closed/file", "x");
                                 setMode(folder / "closed", 0500);
                                 bool isTried = false;
                                 lift = [&](Item) {
                                   isTried = true;
                                   return false;
                                 };
                                 EXPECT_EQ(removeItem(folder / "closed/file").code(), 13);
                                 EXPECT_TRUE(isThere(folder / "closed/file"));
                                 EXPECT_TRUE(isTried);
                               }),
            0);
}

TEST_F(Locks, AreLiftedFromAFolderBeforeAnythingInItIsRemoved) {
  writeFile(folder / "tree/inner/file", "x");
  const std::set<ItemIdentity> folders = {identityOf(statusOf(folder / "tree")),
                                          identityOf(statusOf(folder / "tree/inner"))};
  std::set<ItemIdentity> unlocked;
  lift = [&](Item item) {
    EXPECT_TRUE(item.isOpen());
    EXPECT_TRUE(isThere(folder / "tree/inner/file"));
    unlocked.insert(identityOf(statusOfItem(item)));
    return false;
  };
  EXPECT_TRUE(removeItem(folder / "tree").succeeded);
  EXPECT_EQ(unlocked, folders);
}

TEST_F(Locks, AreCopiedAfterEverythingElse) {
  writeFile(folder / "from/inner/file", "some bytes");
  // Otherwise a file may need nothing but its times.
  setMode(folder / "from/inner/file", 04755);
  fs::create_symlink("nothing", folder / "from/inner/link");
  ASSERT_EQ(::mkfifo((folder / "from/inner/fifo").c_str(), 0640), 0);
  for (const char* name : {"from/inner/file", "from/inner/link", "from/inner/fifo", "from/inner", "from"}) {
    setTimes(folder / name, {1234567890, 5}, {1111111111, 7});
  }

  std::map<ItemIdentity, std::int64_t> locked;
  const auto lastChange = [](const struct stat& status) {
    return std::int64_t{status.st_ctim.tv_sec} * 1'000'000'000 + status.st_ctim.tv_nsec;
  };
  copyOne = [&](Item original, Item copy) {
    const struct stat made = statusOfItem(copy);
    EXPECT_EQ(made.st_mode, statusOfItem(original).st_mode);
    EXPECT_TRUE(!S_ISREG(made.st_mode) || made.st_size == 10);
    EXPECT_TRUE(locked.emplace(identityOf(made), lastChange(made)).second);
    // A change after this one has another time.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  };
  ASSERT_TRUE(copyItem(folder / "from", folder / "to").succeeded);
  EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
  EXPECT_EQ(locked.size(), 5U);
  for (const char* name : {"to/inner/file", "to/inner/link", "to/inner/fifo", "to/inner", "to"}) {
    const struct stat made = statusOf(folder / name);
    ASSERT_TRUE(locked.contains(identityOf(made))) << name;
    EXPECT_EQ(locked[identityOf(made)], lastChange(made)) << name << " was changed after it was locked";
  }
}

}  // namespace

}  // namespace zk::test
