#include "system/ErrorNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace zk {
namespace {

TEST(ErrorNumbersOnLinux, TwoNamesOfOneNumberAreTranslatedAlike) {
  EXPECT_EQ(macOSErrorNumber(EDEADLOCK), macOSErrorNumber(EDEADLK));
}

}  // namespace
}  // namespace zk
