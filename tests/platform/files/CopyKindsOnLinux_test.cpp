#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/TemporaryFolder.h"
#include "system/FileDescriptor.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

TEST(CopyKindsOnLinux, KeepsALinkThatReportsNoSize) {
  const TemporaryFolder folder;
  // As the links under /proc do.
  const fs::path target = folder / std::string(200, 'n') / std::string(200, 'n');
  fs::create_directories(target.parent_path());
  const FileDescriptor file(::open(target.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  const fs::path link = "/proc/self/fd/" + std::to_string(file.get());
  ASSERT_TRUE(copyItem(link, folder / "to").succeeded);
  EXPECT_EQ(fs::read_symlink(folder / "to"), target);
}

}  // namespace
}  // namespace zk::test
