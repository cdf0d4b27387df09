#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "system/Port.h"

namespace zk {

// Opening /dev/fd/2 would only duplicate the descriptor, with flags that it shares. A file or a terminal has a path that
// leads to it. A pipe has none.
FileDescriptor port::openStandardErrorAnew() {
  char path[PATH_MAX];
  if (::fcntl(STDERR_FILENO, F_GETPATH, path) != 0) return FileDescriptor();
  FileDescriptor opened(::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat original;
  struct stat found;
  // The file may have been moved, and another have taken its place.
  const bool isSame = opened.isOpen() && ::fstat(STDERR_FILENO, &original) == 0 && ::fstat(opened.get(), &found) == 0 &&
                      identityOf(original) == identityOf(found);
  return isSame ? std::move(opened) : FileDescriptor();
}

// The program's name is known to the log, and setting another would change what the host's own lines say.
void port::writeToSystemLog(const std::string& /*program*/, const std::string& message) {
  ::syslog(LOG_USER | LOG_NOTICE, "%s", message.c_str());
}

}  // namespace zk
