// A program for the tests of the failure reasons' translations: prints one reason of each table, in the language of its
// own main bundle. It fails when a look-up has changed errno, which a caller reads again afterwards.

#include <cerrno>
#include <cstdio>

#include "ZKPOSIXSemaphore.h"
#include "system/ErrorNumbers.h"

namespace {

/// A number that no look-up of a file leaves behind.
constexpr int kNumber = EDEADLK;

template <class LookUp>
bool print(const LookUp& lookUp) {
  errno = kNumber;
  const auto reason = lookUp();
  const bool isKept = errno == kNumber;
  std::puts(reason->UTF8String());
  return isKept;
}

}  // namespace

int main() {
  using zk::ZKPOSIXSemaphore;
  // The first look-up finds the main bundle and its translations.
  const bool isKept = print([] { return ZKPOSIXSemaphore::semaphoreOpenErrorReason(zk::ZKENOENT, false); }) &&
                      print([] { return ZKPOSIXSemaphore::semaphoreWaitErrorReason(zk::ZKEAGAIN); }) &&
                      print([] { return ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(zk::ZKEACCES); }) &&
                      print([] { return ZKPOSIXSemaphore::semaphoreWaitErrorReason(zk::ZKEINVAL); });
  return isKept ? 0 : 1;
}
