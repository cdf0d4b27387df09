#include "darwin/FoundFunctions.h"

#include <gtest/gtest.h>

#include "darwin/CoreFoundation.h"
#include "darwin/ProcessManager.h"

namespace zk::test {

namespace {

#ifdef __APPLE__

TEST(FoundFunctions, AreAllThereOnASystemThatHasThem) {
  EXPECT_NE(darwin::coreFoundation(), nullptr);
  EXPECT_NE(darwin::objectiveC(), nullptr);
  EXPECT_NE(darwin::processManager().GetProcessForPID, nullptr);
}

#else

TEST(FoundFunctions, AreAbsentOnASystemWithoutTheFrameworks) {
  EXPECT_EQ(darwin::coreFoundation(), nullptr);
  EXPECT_EQ(darwin::objectiveC(), nullptr);
  EXPECT_EQ(darwin::statusCommentFunction(), nullptr);
  EXPECT_EQ(darwin::processManager().GetProcessForPID, nullptr);
  EXPECT_EQ(darwin::processManager().ProcessInformationCopyDictionary, nullptr);
  EXPECT_EQ(darwin::processManager().GetProcessInformation, nullptr);
}

#endif

}  // namespace

}  // namespace zk::test
