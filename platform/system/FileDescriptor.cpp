#include "system/FileDescriptor.h"

#include <unistd.h>

#include "system/ErrorNumbers.h"

namespace zk {

void FileDescriptor::reset() {
  const ErrorNumberKeeper keeper;
  if (isOpen()) ::close(release());
}

}  // namespace zk
