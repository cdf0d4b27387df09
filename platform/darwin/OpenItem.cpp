#include "darwin/OpenItem.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "system/Uninterrupted.h"

namespace zk::darwin {

OpenItem::OpenItem(Item item) : descriptor_(item.descriptor) {
  if (item.isOpen()) return;
  constexpr int kFlags = O_RDONLY | O_SYMLINK | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  struct stat status;
  descriptor_ = -1;
  if (::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW) != 0 || S_ISFIFO(status.st_mode)) return;
  own_ = FileDescriptor(uninterrupted([&] { return ::openat(item.descriptor, item.name, kFlags); }));
  descriptor_ = own_.get();
}

}  // namespace zk::darwin
