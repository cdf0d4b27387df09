#include "support/Pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace zk::test {

Pipe::Pipe() {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
  reading = FileDescriptor(ends[0]);
  writing = FileDescriptor(ends[1]);
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
}

}  // namespace zk::test
