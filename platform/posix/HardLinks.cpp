#include "posix/HardLinks.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "posix/Folder.h"

namespace zk {

namespace {

bool isItemThere(ItemPlace place, ItemIdentity identity) {
  struct stat status;
  return ::fstatat(place.folder, place.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && identityOf(status) == identity;
}

/// Opens the folder that the last name of `path` lies in, and cuts `path` down to that name.
int openFolderAround(int outermost, std::string& path, FileDescriptor& folder) {
  std::size_t start = 0;
  for (std::size_t slash; (slash = path.find('/', start)) != std::string::npos; start = slash + 1) {
    path[slash] = '\0';
    const int parent = folder.isOpen() ? folder.get() : outermost;
    FileDescriptor next = openFolderToSearch(parent, path.c_str() + start, Links::refused);
    if (!next.isOpen()) return errno;
    folder = std::move(next);
  }
  path.erase(0, start);
  return 0;
}

}  // namespace

int HardLinks::add(const struct stat& original, ItemPlace place, const std::string& path) {
  struct stat copy;
  if (::fstatat(place.folder, place.name, &copy, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  copies_.insert_or_assign(identityOf(original), Copy{path, identityOf(copy)});
  return 0;
}

bool HardLinks::contains(const struct stat& original) const { return copies_.contains(identityOf(original)); }

int HardLinks::link(const struct stat& original, int outermost, ItemPlace copy) const {
  const Copy& first = copies_.at(identityOf(original));
  std::string name = first.path;
  FileDescriptor folder;
  if (const int error = openFolderAround(outermost, name, folder); error != 0) return error;
  const ItemPlace place{folder.isOpen() ? folder.get() : outermost, name.c_str()};

  if (::linkat(place.folder, place.name, copy.folder, copy.name, 0) != 0) return errno;
  if (isItemThere(copy, first.identity)) return 0;
  // Something else had come to stand there.
  ::unlinkat(copy.folder, copy.name, 0);
  return ESTALE;
}

bool isLinkRefusal(int error) {
  return error == EMLINK || error == EPERM || error == EXDEV || error == ENOTSUP || error == ENOSYS || error == EACCES;
}

}  // namespace zk
