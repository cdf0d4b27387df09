#include <fcntl.h>
#include <unistd.h>

#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

SystemError port::waitUntilAtDrive(int item) {
  const auto error = errorOf(uninterrupted([&] { return ::fsync(item); }));
  return isUnsupported(error) || error.is(EINVAL) ? SystemError() : error;
}

SystemError port::waitUntilOnDrive(int item) {
  const auto error = errorOf(uninterrupted([&] { return ::fcntl(item, F_FULLFSYNC); }));
  // Some file systems and drives do not support this, network shares for instance.
  return isUnsupported(error) || error.is(EINVAL, ENOTTY) ? waitUntilAtDrive(item) : error;
}

// No call is documented to wait for a whole volume and to report write errors.
bool port::isTrusted(int /*folder*/) { return false; }
SystemError port::syncFileSystem(int /*folder*/) { return SystemError(ENOTSUP); }

}  // namespace zk
