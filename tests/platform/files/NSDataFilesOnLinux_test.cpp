#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "files/NSDataFiles.h"
#include "support/TemporaryFolder.h"

namespace zk {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 20;

Ref<NSData> read(const Ref<NSURL>& url) { return dataWithContentsOfURL(url, kMostBytes); }

TEST(NSDataReading, ReadsAFileWhoseSizeIsNotReported) {
  struct stat file {};
  ASSERT_EQ(::stat("/proc/self/status", &file), 0);
  ASSERT_EQ(file.st_size, 0);
  const Ref<NSData> data = read(std::make_shared<NSURL>("/proc/self/status"));
  ASSERT_TRUE(data);
  EXPECT_TRUE(data->bytes().starts_with("Name:"));
  EXPECT_TRUE(data->bytes().ends_with("\n"));
  EXPECT_GT(data->length(), 500U);
}

TEST(NSDataReading, AFileThatTurnsOutTooLargeGivesNothing) {
  // The system reports size 0 for this file, but it holds a few hundred bytes for each of the process's mappings.
  constexpr const char* kPath = "/proc/self/smaps";
  constexpr std::size_t kMappings = 50'000;
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const pages = ::mmap(nullptr, kMappings * pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  for (std::size_t page = 0; page < kMappings; page += 2) {
    ASSERT_EQ(::mprotect(static_cast<char*>(pages) + page * pageSize, pageSize, PROT_READ), 0);
  }
  struct stat file {};
  ASSERT_EQ(::stat(kPath, &file), 0);
  ASSERT_EQ(file.st_size, 0);
  ASSERT_GT(test::readFile(kPath).size(), kMostBytes);

  EXPECT_FALSE(read(std::make_shared<NSURL>(kPath)));
  EXPECT_EQ(::munmap(pages, kMappings * pageSize), 0);
}

}  // namespace
}  // namespace zk
