#include <gtest/gtest.h>

#include "ZKPOSIXSemaphore.h"

namespace zk {
namespace {

TEST(ZKPOSIXSemaphoreOnLinux, AnAbsentNameIsRefusedByTheSystemLikeAnEmptyOne) {
  for (const Ref<NSString>& name : {Ref<NSString>(), Ref<NSString>(""_ns)}) {
    Ref<NSError> error;
    EXPECT_EQ(ZKPOSIXSemaphore::openWithName(name, &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code(), 22);
  }
}

}  // namespace
}  // namespace zk
