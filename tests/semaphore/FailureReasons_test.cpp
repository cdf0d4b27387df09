#include <gtest/gtest.h>

#include <algorithm>

#include "ZKPOSIXSemaphore.h"

namespace zk {
namespace {

constexpr const char* kAbsent = nullptr;

void expectText(const Ref<NSString>& actual, const char* expected, long number) {
  if (expected == kAbsent) {
    EXPECT_EQ(actual, nullptr) << "number " << number;
  } else {
    ASSERT_NE(actual, nullptr) << "number " << number;
    EXPECT_EQ(actual->bytes(), expected) << "number " << number;
  }
}

TEST(FailureReasons, DependOnTheCreateFlagForOpening) {
  struct Row {
    long number;
    const char* withCreate;
    const char* withoutCreate;
  };
  const Row rows[] = {
      {2, kAbsent, "Named semaphore does not exist."},
      {4, "The operation was interrupted by a signal.", "The operation was interrupted by a signal."},
      {13, "The object does not exist, and permission to create the semaphore is denied.",
       "The required permissions (for reading and/or writing) are denied for the given flags."},
      {17, "Semaphore exists.", kAbsent},
      {22, "Value exceeds SEM_VALUE_MAX.", "The sem_open() operation is not supported."},
      {23, "Too many semaphores or file descriptors are open on the system.",
       "Too many semaphores or file descriptors are open on the system."},
      {24, "The process has already reached its limit for semaphores or file descriptors in use.",
       "The process has already reached its limit for semaphores or file descriptors in use."},
      {28, "File does not exist, and there is insufficient space available to create the semaphore.", kAbsent},
      {63, "Name exceeded SEM_NAME_LEN characters.", "Name exceeded SEM_NAME_LEN characters."},
  };
  for (const Row& row : rows) {
    expectText(ZKPOSIXSemaphore::semaphoreOpenErrorReason(row.number, true), row.withCreate, row.number);
    expectText(ZKPOSIXSemaphore::semaphoreOpenErrorReason(row.number, false), row.withoutCreate, row.number);
  }
}

TEST(FailureReasons, AreKnownForWaiting) {
  expectText(ZKPOSIXSemaphore::semaphoreWaitErrorReason(4), "The call was interrupted by a signal.", 4);
  expectText(ZKPOSIXSemaphore::semaphoreWaitErrorReason(11), "A deadlock was detected.", 11);
  expectText(ZKPOSIXSemaphore::semaphoreWaitErrorReason(22), "Not a valid semaphore descriptor.", 22);
  expectText(ZKPOSIXSemaphore::semaphoreWaitErrorReason(35), "The semaphore is already locked.", 35);
}

TEST(FailureReasons, AreKnownForUnlinking) {
  expectText(ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(2), "The named semaphore does not exist.", 2);
  expectText(ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(13), "Permission is denied to remove the semaphore.", 13);
  expectText(ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(63), "Name exceeded SEM_NAME_LEN characters.", 63);
}

TEST(FailureReasons, AreAbsentForEveryOtherNumber) {
  const auto isListed = [](long number, std::initializer_list<long> listed) {
    return std::find(listed.begin(), listed.end(), number) != listed.end();
  };
  for (long number = -200; number <= 2000; ++number) {
    if (!isListed(number, {2, 4, 13, 17, 22, 23, 24, 28, 63})) {
      expectText(ZKPOSIXSemaphore::semaphoreOpenErrorReason(number, true), kAbsent, number);
      expectText(ZKPOSIXSemaphore::semaphoreOpenErrorReason(number, false), kAbsent, number);
    }
    if (!isListed(number, {4, 11, 22, 35})) {
      expectText(ZKPOSIXSemaphore::semaphoreWaitErrorReason(number), kAbsent, number);
    }
    if (!isListed(number, {2, 13, 63})) {
      expectText(ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(number), kAbsent, number);
    }
  }
  // A number that matches the table only if it is cut to fewer bits.
  const long wide = (1L << 32) + 2;
  expectText(ZKPOSIXSemaphore::semaphoreOpenErrorReason(wide, false), kAbsent, wide);
}

}  // namespace
}  // namespace zk
