#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ZKPOSIXSemaphore.h"
#include "support/SemaphoreName.h"
#include "support/TemporaryFolder.h"
#include "system/FileDescriptor.h"

namespace zk {
namespace {

/// Counts how often a file is opened.
class OpenCounter {
 public:
  explicit OpenCounter(const std::filesystem::path& path) {
    EXPECT_NE(::inotify_add_watch(events_.get(), path.c_str(), IN_OPEN | IN_CLOSE), -1);
  }
  int count() const {
    int opens = 0;
    // Opening and closing take turns: two events that are alike and come in a row would be reported as one.
    inotify_event event;
    while (::read(events_.get(), &event, sizeof event) == sizeof event) opens += (event.mask & IN_OPEN) != 0;
    return opens;
  }

 private:
  const FileDescriptor events_{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

TEST(GuardedWaitOnLinux, ReadsTheRecordOnceForEachBusyTry) {
  const test::TemporaryFolder folder;
  const test::SemaphoreName name;
  const auto semaphore = ZKPOSIXSemaphore::initWithCreate(name.text(), false, 0666, 0);
  const std::filesystem::path record = folder / ("." + name.bytes() + ".semaphore");
  test::writeFile(record, "<plist version=\"1.0\"><dict><key>pid</key><integer>" + std::to_string(::getpid()) +
                              "</integer></dict></plist>");
  const OpenCounter reads(record);
  EXPECT_FALSE(semaphore->waitWithProcessInfo(folder.url(), 5, 0.001, nullptr));
  EXPECT_EQ(reads.count(), 6);
}

}  // namespace
}  // namespace zk
