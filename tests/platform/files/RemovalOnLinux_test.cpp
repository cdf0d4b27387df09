#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnMounts.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

TEST(RemovalOnLinux, NeverTouchesAFileSystemMountedInside) {
  const TemporaryFolder folder;
  fs::create_directories(folder / "tree/mounted");
  writeFile(folder / "outside/file", "x");
  const int status = statusInChild([&folder] {
    const std::string outside = folder / "outside";
    if (!enterOwnMounts() ||
        ::mount(outside.c_str(), (folder / "tree/mounted").c_str(), nullptr, MS_BIND, nullptr) != 0) {
      ::_exit(kNotPermitted);
    }
    const Outcome outcome = removeItem(folder / "tree");
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.code(), 16);
    EXPECT_EQ(removeItem(folder / "tree/mounted").code(), 16);
  });
  EXPECT_TRUE(isThere(folder / "outside/file"));
  if (status == kNotPermitted) GTEST_SKIP() << "mounting is not permitted here";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zk::test
