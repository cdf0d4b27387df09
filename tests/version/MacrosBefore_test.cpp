// The macros that split a device number, defined before the version's header is included.
#include <sys/sysmacros.h>

#include "ZKVersion.h"

#include <gtest/gtest.h>

namespace zk {
namespace {

TEST(MacrosBefore, LeaveTheVersionsOwnOperationsUsableAndStayUsable) {
  const Ref<ZKVersion> version = ZKVersion::versionWithMajor(1, 2, 3, 4);
  EXPECT_EQ((version->major)(), 1);
  EXPECT_EQ((version->minor)(), 2);
  const auto device = makedev(8, 3);
  EXPECT_EQ(major(device), 8U);
  EXPECT_EQ(minor(device), 3U);
}

}  // namespace
}  // namespace zk
