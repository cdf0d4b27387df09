#include <fcntl.h>
#include <unistd.h>

#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// Asks the drive for something that some file systems and drives do not support, network shares for instance.
/// @param otherwise what to do then
SystemError askDrive(int item, int command, SystemError (*otherwise)(int item)) {
  const auto error = errorOf(uninterrupted([&] { return ::fcntl(item, command); }));
  return isUnsupported(error) || error.is(EINVAL, ENOTTY) ? otherwise(item) : error;
}

}  // namespace

SystemError port::waitUntilAtDrive(int item) {
  const auto error = errorOf(uninterrupted([&] { return ::fsync(item); }));
  return isUnsupported(error) || error.is(EINVAL) ? SystemError() : error;
}

SystemError port::waitForBarrier(int item) { return askDrive(item, F_BARRIERFSYNC, &port::waitUntilOnDrive); }

SystemError port::waitUntilOnDrive(int item) { return askDrive(item, F_FULLFSYNC, &port::waitUntilAtDrive); }

// No call is documented to wait for a whole volume and to report write errors.
bool port::isTrusted(int /*folder*/) { return false; }
SystemError port::syncFileSystem(int /*folder*/) { return SystemError(ENOTSUP); }

}  // namespace zk
