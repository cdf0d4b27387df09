#include "darwin/FolderEntries.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>

#include "support/TemporaryFolder.h"
#include "system/FileDescriptor.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

FileDescriptor opened(const fs::path& path) { return FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)); }

/// The kinds of a folder's entries by their names.
std::map<std::string, mode_t> kindsIn(int folder) {
  std::vector<Entry> entries;
  EXPECT_FALSE(darwin::entriesOf(folder, entries));
  std::map<std::string, mode_t> kinds;
  for (const Entry& entry : entries) EXPECT_TRUE(kinds.emplace(entry.name, entry.type).second) << entry.name;
  return kinds;
}

TEST(FolderEntries, HaveTheirNamesAndKinds) {
  const TemporaryFolder folder;
  writeFile(folder / ".file", "");
  fs::create_directory(folder / "folder");
  fs::create_symlink("nothing", folder / "link");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  const FileDescriptor descriptor = opened(folder.path());
  const std::map<std::string, mode_t> kinds = {
      {".file", S_IFREG}, {"folder", S_IFDIR}, {"link", S_IFLNK}, {"fifo", S_IFIFO}};
  EXPECT_EQ(kindsIn(descriptor.get()), kinds);
}

TEST(FolderEntries, AreAllThereHoweverManyTheyAre) {
  const TemporaryFolder folder;
  for (int count = 0; count < 3000; ++count) writeFile(folder / std::to_string(count), "");
  EXPECT_EQ(kindsIn(opened(folder.path()).get()).size(), 3000U);
}

TEST(FolderEntries, LeaveTheFolderOpenAndNothingElse) {
  const TemporaryFolder folder;
  const FileDescriptor descriptor = opened(folder.path());
  const int lowestFree = ::dup(descriptor.get());
  ::close(lowestFree);
  EXPECT_TRUE(kindsIn(descriptor.get()).empty());
  EXPECT_GE(::fcntl(descriptor.get(), F_GETFD), 0);
  const FileDescriptor next(::dup(descriptor.get()));
  EXPECT_EQ(next.get(), lowestFree);
}

TEST(FolderEntries, AreNoneInAFolderThatWasRemoved) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "removed");
  const FileDescriptor descriptor = opened(folder / "removed");
  fs::remove(folder / "removed");
  EXPECT_TRUE(kindsIn(descriptor.get()).empty());
}

TEST(FolderEntries, CannotBeReadOfAnythingElse) {
  const TemporaryFolder folder;
  writeFile(folder / "file", "");
  std::vector<Entry> entries;
  EXPECT_EQ(darwin::entriesOf(opened(folder / "file").get(), entries).number(), ENOTDIR);
  EXPECT_EQ(darwin::entriesOf(-1, entries).number(), EBADF);
}

}  // namespace

}  // namespace zk::test
