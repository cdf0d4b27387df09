#include "files/HardLinks.h"

#include <fcntl.h>
#include <unistd.h>

#include "files/Folder.h"

namespace zk {

namespace {

bool isItemThere(Item place, ItemIdentity identity) {
  struct stat status;
  return ::fstatat(place.descriptor, place.name, &status, AT_SYMLINK_NOFOLLOW) == 0 && identityOf(status) == identity;
}

/// Opens the folder that holds the item at `path`, and cuts `path` down to the item's name.
SystemError openFolderAround(int outermost, std::string& path, FileDescriptor& folder) {
  std::size_t start = 0;
  for (std::size_t slash; (slash = path.find('/', start)) != std::string::npos; start = slash + 1) {
    path[slash] = '\0';
    const int parent = folder.isOpen() ? folder.get() : outermost;
    FileDescriptor next;
    if (const auto error = openFolderToSearch({parent, path.c_str() + start}, Links::refused, next)) return error;
    folder = std::move(next);
  }
  path.erase(0, start);
  return {};
}

}  // namespace

SystemError HardLinks::add(const struct stat& original, Item copy, const std::string& path) {
  struct stat made;
  if (const auto error = errorOf(::fstatat(copy.descriptor, copy.name, &made, AT_SYMLINK_NOFOLLOW))) return error;
  copies_.insert_or_assign(identityOf(original), Copy{path, identityOf(made)});
  return {};
}

bool HardLinks::contains(const struct stat& original) const { return copies_.contains(identityOf(original)); }

SystemError HardLinks::link(const struct stat& original, int outermost, Item copy) const {
  const Copy& first = copies_.at(identityOf(original));
  std::string name = first.path;
  FileDescriptor folder;
  if (const auto error = openFolderAround(outermost, name, folder)) return error;
  const int place = folder.isOpen() ? folder.get() : outermost;

  if (const auto error = errorOf(::linkat(place, name.c_str(), copy.descriptor, copy.name, 0))) return error;
  if (isItemThere(copy, first.identity)) return {};
  // Something else had taken that name.
  ::unlinkat(copy.descriptor, copy.name, 0);
  return SystemError(ESTALE);
}

bool isLinkRefusal(SystemError error) { return isUnsupported(error) || error.is(EMLINK, EPERM, EXDEV, EACCES); }

}  // namespace zk
