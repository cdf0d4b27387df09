#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "support/linux/RefuseSystemCall.h"
#include "updater/BareUpdater.h"

namespace zk {
namespace {

TEST(DiscoveryOnLinux, FindsNothingWithoutATargetIdentifierBeforeAnyFolderIsRead) {
  const test::TemporaryFolder folder;
  test::BareUpdater updater;
  updater.targetBundleURL = NSURL::fileURLWithPath("/volume/A.app"_ns);
  updater.updateDirectory = folder.url();
  // How a search ends in a process that must not read a folder.
  const auto statusOfSearch = [&updater] {
    return test::statusInChild([&updater] {
      ASSERT_TRUE(test::endAtSystemCall(SYS_getdents64));
      EXPECT_EQ(updater.updateBundleURL(), nullptr);
    });
  };
  EXPECT_EQ(statusOfSearch(), 0);
  updater.targetBundleId = ""_ns;
  EXPECT_EQ(statusOfSearch(), 0);
  updater.targetBundleId = "com.example.a"_ns;
  EXPECT_EQ(statusOfSearch(), test::kEndedBySignal + SIGSYS) << "a search by identifier reads the folder";
}

}  // namespace
}  // namespace zk
