#include "posix/FileDescriptor.h"

#include <unistd.h>

#include "process/ErrorNumbers.h"

namespace zk {

void FileDescriptor::reset() {
  const ErrorNumberKeeper keeper;
  if (isOpen()) ::close(release());
}

}  // namespace zk
