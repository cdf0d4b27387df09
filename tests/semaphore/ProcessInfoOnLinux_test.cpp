#include <gtest/gtest.h>

#include "ZKPOSIXSemaphore.h"

namespace zk {
namespace {

TEST(ProcessInfoOnLinux, HoldsTheProgramAndTheDateOfEveryProcess) {
  const Ref<NSDictionary> record = ZKPOSIXSemaphore::currentProcessInfo();
  ASSERT_NE(record, nullptr);
  EXPECT_NE(record->objectForKey(ZKPOSIXSemaphore::executablePathKey), nullptr);
  EXPECT_NE(record->objectForKey(ZKPOSIXSemaphore::creationDateKey), nullptr);
}

}  // namespace
}  // namespace zk
