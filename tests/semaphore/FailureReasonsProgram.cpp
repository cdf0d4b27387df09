// A program for the tests of the failure reasons' translations: prints one reason of each table, in the language of its
// own main bundle.

#include <cstdio>

#include "ZKPOSIXSemaphore.h"
#include "system/ErrorNumbers.h"

int main() {
  using zk::ZKPOSIXSemaphore;
  std::puts(ZKPOSIXSemaphore::semaphoreOpenErrorReason(zk::ZKENOENT, false)->UTF8String());
  std::puts(ZKPOSIXSemaphore::semaphoreWaitErrorReason(zk::ZKEAGAIN)->UTF8String());
  std::puts(ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(zk::ZKEACCES)->UTF8String());
  std::puts(ZKPOSIXSemaphore::semaphoreWaitErrorReason(zk::ZKEINVAL)->UTF8String());
  return 0;
}
