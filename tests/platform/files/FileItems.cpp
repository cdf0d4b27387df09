#include "FileItems.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <iterator>

#include "support/ChildProcess.h"
#include "support/System.h"

namespace zk::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

void becomeNobody() {
  ASSERT_EQ(::setgroups(0, nullptr), 0);
  ASSERT_EQ(::setgid(kNobody), 0);
  ASSERT_EQ(::setuid(kNobody), 0);
  keepAccessToItself();
}

void append(std::string& bytes, const void* value, std::size_t size) {
  bytes.append(static_cast<const char*>(value), size);
}

}  // namespace

mode_t readable() { return ::geteuid() == 0 ? 0 : S_IRUSR; }

bool RecordingDelegate::fileManager(NSFileManager& fileManager, const Ref<NSURL>& shouldCopyItemAtURL,
                                    const Ref<NSURL>& toURL) {
  questions.emplace_back(shouldCopyItemAtURL->path()->bytes(), toURL->path()->bytes());
  return !shouldCopy || shouldCopy(fileManager, shouldCopyItemAtURL->path()->bytes(), toURL);
}

bool RecordingDelegate::fileManager(NSFileManager& /*fileManager*/, const Ref<NSError>& shouldProceedAfterError,
                                    const Ref<NSURL>& copyingItemAtURL, const Ref<NSURL>& toURL) {
  failures.emplace_back(copyingItemAtURL->path()->bytes(), toURL->path()->bytes());
  codes.push_back(shouldProceedAfterError->code());
  return proceeds;
}

std::string Outcome::path() const {
  const Ref<NSString> text = error ? asString(error->userInfo()->objectForKey(NSFilePathErrorKey)) : nullptr;
  return text ? text->bytes() : "";
}

Outcome copyItem(const fs::path& from, const fs::path& to, NSFileManagerDelegate* delegate) {
  NSFileManager fileManager;
  fileManager.setDelegate(delegate);
  Outcome outcome;
  outcome.succeeded = fileManager.copyItemAtURL(std::make_shared<NSURL>(from.string()),
                                                std::make_shared<NSURL>(to.string()), &outcome.error);
  return outcome;
}

Outcome removeItem(const fs::path& path) {
  NSFileManager fileManager;
  Outcome outcome;
  outcome.succeeded = fileManager.removeItemAtURL(std::make_shared<NSURL>(path.string()), &outcome.error);
  return outcome;
}

struct stat statusOf(const fs::path& path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path << ": " << std::strerror(errno);
  return status;
}

mode_t modeOf(const fs::path& path) { return statusOf(path).st_mode & 07777; }

void setMode(const fs::path& path, mode_t mode) {
  EXPECT_EQ(::chmod(path.c_str(), mode), 0) << path;
  EXPECT_EQ(modeOf(path), mode) << path;
}

void setTimes(const fs::path& path, struct timespec accessed, struct timespec modified) {
  const struct timespec times[2] = {accessed, modified};
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

bool isThere(const fs::path& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

std::string accessListBytes(unsigned permissions) {
  struct Entry {
    std::uint16_t tag;
    std::uint16_t permissions;
    std::uint32_t user;
  };
  constexpr std::uint32_t kVersion = 2;
  constexpr std::uint32_t kNoOne = UINT32_MAX;
  const auto given = static_cast<std::uint16_t>(permissions);
  const Entry entries[] = {
      {0x01, 7, kNoOne}, {0x02, given, 1234}, {0x04, 5, kNoOne}, {0x10, 7, kNoOne}, {0x20, 0, kNoOne}};
  std::string bytes;
  append(bytes, &kVersion, sizeof kVersion);
  append(bytes, entries, sizeof entries);
  return bytes;
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/dev/fd"), fs::directory_iterator()));
}

int statusUnprivileged(const TemporaryFolder& folder, const std::function<void()>& body) {
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    EXPECT_EQ(::chown(folder.path().c_str(), kNobody, kNobody), 0);
  }
  return statusInChild([&] {
    if (isRoot) becomeNobody();
    if (!::testing::Test::HasFailure()) body();
  });
}

}  // namespace zk::test
