#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <atomic>
#include <filesystem>
#include <system_error>

#include "FileItems.h"
#include "support/linux/SystemCallPauses.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// Plays a file system that takes "a" for "A": "A" is called "a" whenever it is looked up by that name, but not when
/// its folder is read.
TEST(CopyNameClash, AnEarlierItemDoesNotGiveWayToALaterOneWhoseNameCountsAsTheSame) {
  const TemporaryFolder folder;
  writeFile(folder / "from/inner/A", "first");
  writeFile(folder / "from/inner/a", "second");
  const fs::path capital = folder / "to/inner/A";
  const fs::path small = folder / "to/inner/a";

  RecordingDelegate delegate;
  std::atomic<bool> isRemoving = false;
  bool isRemoved = true;
  Ref<NSError> error;
  delegate.shouldCopy = [&](NSFileManager& fileManager, const std::string& source, const Ref<NSURL>& destination) {
    if (!source.ends_with("/a")) return true;
    fs::rename(capital, small);
    isRemoving = true;
    isRemoved = fileManager.removeItemAtURL(destination, &error);
    isRemoving = false;
    std::error_code ignored;
    fs::rename(capital, small, ignored);
    return true;
  };
  Outcome outcome;
  const bool isPermitted = runWithPauses(
      SYS_openat,
      [&](const std::string& name) {
        if (isRemoving && name == ".") fs::rename(small, capital);
      },
      [&] { outcome = copyItem(folder / "from", folder / "to", &delegate); });
  if (!isPermitted) GTEST_SKIP() << "no call may be made to pause here";

  EXPECT_FALSE(isRemoved);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), 17);
  EXPECT_EQ(outcome.code(), 17);
  EXPECT_EQ(readFile(small), "first");
}

}  // namespace
}  // namespace zk::test
