#include "files/NSDataFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "objects/NSString.h"
#include "support/TemporaryFolder.h"

namespace zk {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

constexpr std::size_t kMostBytes = std::size_t{1} << 20;

Ref<NSData> read(const Ref<NSURL>& url) { return dataWithContentsOfURL(url, kMostBytes); }

std::size_t itemCount(const TemporaryFolder& folder) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
}

mode_t modeOf(const fs::path& path) {
  struct stat file {};
  EXPECT_EQ(::lstat(path.c_str(), &file), 0);
  return file.st_mode & 07777;
}

/// Sets the umask for the length of a scope.
class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  ~Umask() { ::umask(before_); }
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;

 private:
  mode_t before_;
};

/// Limits the size of files for the length of a scope.
class LargestFileSize {
 public:
  explicit LargestFileSize(rlim_t size) : action_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit limit = {size, before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~LargestFileSize() {
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before_), 0);
    std::signal(SIGXFSZ, action_);
  }
  LargestFileSize(const LargestFileSize&) = delete;
  LargestFileSize& operator=(const LargestFileSize&) = delete;

 private:
  void (*action_)(int);
  rlimit before_{};
};

TEST(NSDataReading, ReadsAWholeFile) {
  const TemporaryFolder folder;
  for (const std::string& content : {std::string(), std::string("a\0b", 3), std::string(1'000'000, 'x')}) {
    test::writeFile(folder / "file", content);
    const Ref<NSData> data = read(folder.url("file"));
    ASSERT_TRUE(data);
    EXPECT_EQ(data->bytes(), content);
  }
}

TEST(NSDataReading, FollowsALink) {
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "content");
  fs::create_symlink("file", folder / "link");
  ASSERT_TRUE(read(folder.url("link")));
  EXPECT_EQ(read(folder.url("link"))->bytes(), "content");
}

TEST(NSDataReading, AnythingButAFileGivesNothing) {
  const TemporaryFolder folder;
  fs::create_symlink("loop", folder / "loop");
  EXPECT_FALSE(read(nullptr));
  EXPECT_FALSE(read(folder.url("missing")));
  EXPECT_FALSE(read(folder.url("loop")));
  EXPECT_FALSE(read(folder.url()));
  EXPECT_FALSE(read(std::make_shared<NSURL>("/dev/zero")));
}

TEST(NSDataReading, DoesNotWaitForAFIFO) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0666), 0);
  // A reader that waits would never return, and the test would run into its time limit.
  EXPECT_FALSE(read(folder.url("fifo")));
}

TEST(NSDataReading, AFileThatMayNotBeReadGivesNothing) {
  if (::geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to the superuser";
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "content");
  fs::permissions(folder / "file", fs::perms::none);
  EXPECT_FALSE(read(folder.url("file")));
}

TEST(NSDataReading, ReadsUpToTheLargestSizeAndNoFurther) {
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "");
  fs::resize_file(folder / "file", kMostBytes);
  const Ref<NSData> data = read(folder.url("file"));
  ASSERT_TRUE(data);
  EXPECT_EQ(data->length(), kMostBytes);

  fs::resize_file(folder / "file", kMostBytes + 1);
  EXPECT_FALSE(read(folder.url("file")));
}

TEST(NSDataReading, ClosesWhatItOpens) {
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "content");
  const auto openCount = [] { return std::distance(fs::directory_iterator("/dev/fd"), fs::directory_iterator()); };
  const auto before = openCount();
  EXPECT_TRUE(read(folder.url("file")));
  EXPECT_FALSE(read(folder.url()));
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url("file"), true));
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url("file"), false));
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes("new"), folder.url(), true));
  EXPECT_FALSE(writeToURL(nullptr, folder.url("file"), true));
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes("new"), nullptr, true));
  EXPECT_EQ(openCount(), before);
}

/// Both ways of writing.
class NSDataWriting : public testing::TestWithParam<bool> {
 protected:
  const bool atomically = GetParam();
  const TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Atomically, NSDataWriting, testing::Bool(), testing::PrintToStringParamName());

TEST_P(NSDataWriting, MakesAFileAndNothingElse) {
  const std::string content = std::string("a\0\xFF", 3) + std::string(300'000, 'x');
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes(content), folder.url("file"), atomically));
  EXPECT_EQ(test::readFile(folder / "file"), content);
  EXPECT_EQ(itemCount(folder), 1U);
}

TEST_P(NSDataWriting, ReplacesALongerFile) {
  test::writeFile(folder / "file", "a longer content than the new one");
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url("file"), atomically));
  EXPECT_EQ(test::readFile(folder / "file"), "new");
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes(""), folder.url("file"), atomically));
  EXPECT_EQ(test::readFile(folder / "file"), "");
  EXPECT_EQ(itemCount(folder), 1U);
}

TEST_P(NSDataWriting, ANewFileHasMode0666LessTheUmask) {
  for (const mode_t mask : std::initializer_list<mode_t>{0, 022, 077, 0777}) {
    const Umask umask(mask);
    const std::string name = "file" + std::to_string(mask);
    EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url(name), atomically));
    EXPECT_EQ(modeOf(folder / name), 0666U & ~mask);
  }
}

TEST_P(NSDataWriting, AcceptsANameAsLongAsNamesCanBe) {
  const std::string name(255, 'n');
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url(name), atomically));
  EXPECT_EQ(test::readFile(folder / name), "new");
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes("new"), folder.url(name + "n"), atomically));
  EXPECT_EQ(itemCount(folder), 1U);
}

TEST_P(NSDataWriting, FailsIfThereCanBeNoFile) {
  fs::create_directory(folder / "folder");
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes("new"), folder.url("missing/file"), atomically));
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes("new"), folder.url("folder"), atomically));
  EXPECT_TRUE(fs::is_directory(folder / "folder"));
  EXPECT_EQ(itemCount(folder), 1U) << "a failure leaves nothing behind";
}

TEST_P(NSDataWriting, FailsIfOnlyAPartCanBeWritten) {
  const LargestFileSize limit(1000);
  EXPECT_FALSE(writeToURL(NSData::dataWithBytes(std::string(5000, 'x')), folder.url("file"), atomically));
  EXPECT_EQ(itemCount(folder), atomically ? 0U : 1U);
}

TEST(NSDataAtomicWriting, AFailureLeavesTheOldFileAndNothingElse) {
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "old");
  {
    const LargestFileSize limit(1000);
    EXPECT_FALSE(writeToURL(NSData::dataWithBytes(std::string(5000, 'x')), folder.url("file"), true));
  }
  EXPECT_EQ(test::readFile(folder / "file"), "old");
  EXPECT_EQ(itemCount(folder), 1U);
}

TEST(NSDataAtomicWriting, AReaderOfTheOldFileKeepsIt) {
  const TemporaryFolder folder;
  test::writeFile(folder / "file", "old");
  const int reader = ::open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new content"), folder.url("file"), true));
  char content[16] = {};
  EXPECT_EQ(::read(reader, content, sizeof content), 3);
  EXPECT_STREQ(content, "old");
  ::close(reader);
}

TEST(NSDataAtomicWriting, ReplacesALinkAndNotItsTarget) {
  const TemporaryFolder folder;
  test::writeFile(folder / "victim", "old");
  fs::create_symlink("victim", folder / "file");
  EXPECT_TRUE(writeToURL(NSData::dataWithBytes("new"), folder.url("file"), true));
  EXPECT_EQ(test::readFile(folder / "victim"), "old");
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder / "file")));
  EXPECT_EQ(test::readFile(folder / "file"), "new");
}

}  // namespace
}  // namespace zk
