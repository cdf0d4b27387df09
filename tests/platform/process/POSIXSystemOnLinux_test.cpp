#include "process/POSIXSystem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>

#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"

namespace zk::test {
namespace {

TEST(POSIXSystemOnLinux, ReportsACountThatWouldBeTooLarge) {
  const SemaphoreName name;
  System& system = System::current();
  const SemaphoreHandle handle = system.sem_open(name.bytes().c_str(), ZKO_CREAT, 0666, SEM_VALUE_MAX);
  errno = 0;
  EXPECT_EQ(system.sem_post(handle), -1);
  EXPECT_EQ(errorNumber(), 84);
  EXPECT_EQ(system.sem_close(handle), 0);
}

TEST(POSIXSystemOnLinux, ReportsANameThatWouldLeadToAnotherFolder) {
  errno = 0;
  EXPECT_EQ(System::current().sem_open("zk/test", ZKO_CREAT, 0666, 1), ZKSEM_FAILED);
  EXPECT_EQ(errorNumber(), ZKEINVAL);
}

}  // namespace
}  // namespace zk::test
