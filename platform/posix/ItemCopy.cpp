#include "posix/ItemCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "posix/ExtendedAttributes.h"
#include "posix/FileContents.h"
#include "posix/Folder.h"
#include "posix/Metadata.h"
#include "posix/Uninterrupted.h"

namespace zk {

namespace {

constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;
constexpr std::size_t kUsualLinkLength = 256;

/// Copies an item that is not opened: its metadata is reached through its folder and name.
int finishUnopened(ItemPlace original, const struct stat& status, ItemPlace copy) {
  return copyMetadata({original.folder, original.name}, status, {copy.folder, copy.name});
}

int copyFile(ItemPlace original, struct stat& status, ItemPlace copy) {
  // Should something else have come to stand here, it neither blocks the opening nor is taken for the file.
  constexpr int kRead = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
  const FileDescriptor source(uninterrupted([&] { return ::openat(original.folder, original.name, kRead); }));
  if (!source.isOpen() || ::fstat(source.get(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return ESTALE;

  constexpr int kCreate = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor destination(
      uninterrupted([&] { return ::openat(copy.folder, copy.name, kCreate, kPrivateFile); }));
  if (!destination.isOpen()) return errno;
  removeInheritedACLs({destination.get()});
  // The process's mask may have taken from the owner what setting attributes needs. The mode itself comes later.
  ::fchmod(destination.get(), kPrivateFile);

  if (const int error = copyContents(source.get(), destination.get(), status.st_size); error != 0) return error;
  if (const int error = copyMetadata({source.get()}, status, {destination.get()}); error != 0) return error;
  return waitUntilOnDisk(destination.get());
}

int readLink(ItemPlace link, const struct stat& status, std::string& target) {
  // The size that a file system tells of a link need not be true; one byte more than the target shows that all is read.
  target.resize(std::max(static_cast<std::size_t>(status.st_size) + 1, kUsualLinkLength));
  while (true) {
    const ssize_t count = ::readlinkat(link.folder, link.name, target.data(), target.size());
    if (count < 0) return errno;
    if (static_cast<std::size_t>(count) < target.size()) {
      target.resize(static_cast<std::size_t>(count));
      return 0;
    }
    target.resize(target.size() * 2);
  }
}

int copyLink(ItemPlace original, const struct stat& status, ItemPlace copy) {
  std::string target;
  if (const int error = readLink(original, status, target); error != 0) return error;
  if (::symlinkat(target.c_str(), copy.folder, copy.name) != 0) return errno;
  return finishUnopened(original, status, copy);
}

int copyFIFO(ItemPlace original, const struct stat& status, ItemPlace copy) {
  if (::mkfifoat(copy.folder, copy.name, kPrivateFile) != 0) return errno;
  removeInheritedACLs({copy.folder, copy.name});
  return finishUnopened(original, status, copy);
}

}  // namespace

int copyItem(ItemPlace original, struct stat& status, ItemPlace copy) {
  if (S_ISREG(status.st_mode)) return copyFile(original, status, copy);
  if (S_ISLNK(status.st_mode)) return copyLink(original, status, copy);
  if (S_ISFIFO(status.st_mode)) return copyFIFO(original, status, copy);
  return ENOTSUP;
}

FileDescriptor makePrivateFolder(ItemPlace place) {
  if (::mkdirat(place.folder, place.name, S_IRWXU) != 0) return FileDescriptor();
  FileDescriptor folder = openOwnFolder(place.folder, place.name);
  if (!folder.isOpen()) {
    const int error = errno;
    ::unlinkat(place.folder, place.name, AT_REMOVEDIR);
    errno = error;
    return folder;
  }
  // From here on nothing that is made inside inherits anything.
  removeInheritedACLs({folder.get()});
  ::fchmod(folder.get(), S_IRWXU);
  return folder;
}

}  // namespace zk
