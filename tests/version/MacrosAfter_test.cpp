// The macros that split a device number, defined after the version's header is included.
#include "ZKVersion.h"

#include <sys/sysmacros.h>

#include <gtest/gtest.h>

namespace zk {
namespace {

TEST(MacrosAfter, LeaveTheVersionsOwnOperationsUsableAndStayUsable) {
  const Ref<ZKVersion> version = ZKVersion::versionWithMajor(1, 2, 3, 4);
  EXPECT_EQ((version->major)(), 1);
  EXPECT_EQ((version->minor)(), 2);
  const auto device = makedev(8, 3);
  EXPECT_EQ(major(device), 8U);
  EXPECT_EQ(minor(device), 3U);
}

}  // namespace
}  // namespace zk
