#include "posix/Folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "posix/Uninterrupted.h"

namespace zk {

namespace {

FileDescriptor openFolderFor(int access, int parent, const char* name, Links links) {
  const int linkFlag = links == Links::refused ? O_NOFOLLOW : 0;
  const int flags = access | O_DIRECTORY | O_CLOEXEC | linkFlag;
  return FileDescriptor(uninterrupted([&] { return ::openat(parent, name, flags); }));
}

}  // namespace

FileDescriptor openFolder(int parent, const char* name, Links links) {
  return openFolderFor(O_RDONLY | O_NONBLOCK, parent, name, links);
}

FileDescriptor openFolderToSearch(int parent, const char* name, Links links) {
  return openFolderFor(kSearchOnly, parent, name, links);
}

FileDescriptor openOwnFolder(int parent, const char* name) {
  FileDescriptor folder = openFolder(parent, name, Links::refused);
  if (folder.isOpen() || errno != EACCES) return folder;
  if (::fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0) {
    errno = EACCES;
    return folder;
  }
  return openFolder(parent, name, Links::refused);
}

int readNames(int folder, std::vector<std::string>& names) {
  // A stream closes its descriptor with itself: it gets one of its own.
  FileDescriptor own(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!own.isOpen()) return errno;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(own.get()), &::closedir);
  if (!stream) return errno;
  own.release();

  while (true) {
    errno = 0;
    const struct dirent* entry = ::readdir(stream.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  if (errno != 0) return errno;
  std::sort(names.begin(), names.end());
  return 0;
}

}  // namespace zk
