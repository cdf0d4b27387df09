#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "FileItems.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDescription.h"
#include "system/FileDescriptor.h"
#include "system/Port.h"

namespace zk::test {

inline constexpr off_t kMegabyte = 1 << 20;

/// Bytes without any repetition.
inline std::string someBytes(std::size_t count) {
  std::string bytes(count, '\0');
  unsigned state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  return bytes;
}

/// A folder, with what tests of copied contents do in it.
class CopyContents : public ::testing::Test {
 protected:
  /// Makes a file of `size` bytes that has data only in the given stretches and holes elsewhere.
  void makeSparse(const std::filesystem::path& path, off_t size,
                  const std::vector<std::pair<off_t, std::string>>& stretches) {
    writeFile(path, "");
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    for (const auto& [offset, bytes] : stretches) {
      ASSERT_EQ(::pwrite(file.get(), bytes.data(), bytes.size(), offset), static_cast<ssize_t>(bytes.size()));
    }
    ASSERT_EQ(::ftruncate(file.get(), size), 0);
  }

  /// A tree with files of the kinds that are copied in different ways.
  void makeTree() {
    writeFile(folder / "from/empty", "");
    writeFile(folder / "from/small", "x");
    writeFile(folder / "from/large", someBytes(3 * kMegabyte + 17));
    makeSparse(folder / "from/hole", 5 * kMegabyte, {});
    makeSparse(folder / "from/middle", 5 * kMegabyte, {{2 * kMegabyte, someBytes(kMegabyte)}});
    makeSparse(folder / "from/ends", 5 * kMegabyte, {{0, someBytes(4096)}, {5 * kMegabyte - 10, someBytes(10)}});
  }

  void copyAndCompare() {
    const Outcome outcome = copyItem(folder / "from", folder / "to");
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
    // EXPECT_EQ would print megabytes.
    EXPECT_TRUE(describeTree(folder / "to") == describeTree(folder / "from"));
  }

  /// Copies the contents of "from", which had `size` bytes when its status was asked for, to "to".
  int copyContentsOf(off_t size) {
    const FileDescriptor source(::open((folder / "from").c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = statusOf(folder / "from");
    if (status.st_blocks >= status.st_size / 512) status.st_blocks = size / 512;
    status.st_size = size;
    const std::string path = folder / "to";
    std::filesystem::remove(path);
    port::CopyMeans means;
    FileDescriptor made;
    return port::copyContents(source.get(), status, {AT_FDCWD, path.c_str()}, 0600, means, made).number();
  }

  TemporaryFolder folder;
};

}  // namespace zk::test
