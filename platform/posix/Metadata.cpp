#include "posix/Metadata.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "posix/ExtendedAttributes.h"
#include "posix/Uninterrupted.h"

namespace zk {

namespace {

constexpr mode_t kAllModeBits = 07777;
constexpr mode_t kSetIdBits = S_ISUID | S_ISGID;
constexpr uid_t kSameOwner = static_cast<uid_t>(-1);
constexpr gid_t kSameGroup = static_cast<gid_t>(-1);

int numberOf(int result) { return result == 0 ? 0 : errno; }

int getStatus(ItemHandle item, struct stat& status) {
  return numberOf(item.isOpen() ? ::fstat(item.descriptor, &status)
                                : ::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW));
}

int setOwner(ItemHandle item, uid_t owner, gid_t group) {
  const int error = numberOf(item.isOpen() ? ::fchown(item.descriptor, owner, group)
                                           : ::fchownat(item.descriptor, item.name, owner, group, AT_SYMLINK_NOFOLLOW));
  return isRefusal(error) ? 0 : error;
}

/// Apart from each other: a user who may not give a file away may still give it to another of their groups.
int copyOwner(const struct stat& original, ItemHandle copy) {
  struct stat now;
  if (const int error = getStatus(copy, now); error != 0) return error;
  int error = 0;
  if (now.st_gid != original.st_gid) error = setOwner(copy, kSameOwner, original.st_gid);
  if (error == 0 && now.st_uid != original.st_uid) error = setOwner(copy, original.st_uid, kSameGroup);
  return error;
}

int copyMode(const struct stat& original, ItemHandle copy) {
  if (S_ISLNK(original.st_mode)) return 0;
  const mode_t mode = original.st_mode & kAllModeBits;
  const int error = numberOf(copy.isOpen() ? ::fchmod(copy.descriptor, mode)
                                           : ::fchmodat(copy.descriptor, copy.name, mode, AT_SYMLINK_NOFOLLOW));
  // A system may drop a set-id bit without a word; a file system that knows no modes may have the right one all the
  // same.
  if (error == 0 && (mode & kSetIdBits) == 0) return 0;
  struct stat now;
  if (const int statusError = getStatus(copy, now); statusError != 0) return statusError;
  if ((now.st_mode & kAllModeBits) == mode) return 0;
  return error != 0 ? error : EPERM;
}

int copyTimes(const struct stat& original, ItemHandle copy) {
  const struct timespec times[2] = {original.st_atim, original.st_mtim};
  const int error = numberOf(copy.isOpen() ? ::futimens(copy.descriptor, times)
                                           : ::utimensat(copy.descriptor, copy.name, times, AT_SYMLINK_NOFOLLOW));
  // Not every file system has times for links.
  return S_ISLNK(original.st_mode) && isRefusal(error) ? 0 : error;
}

}  // namespace

int copyMetadata(ItemHandle original, const struct stat& status, ItemHandle copy) {
  if (const int error = copyOwner(status, copy); error != 0) return error;
  if (const int error = copyExtendedAttributes(original, copy); error != 0) return error;
  if (const int error = copyMode(status, copy); error != 0) return error;
  return copyTimes(status, copy);
}

int waitUntilOnDisk(int item) {
  if (uninterrupted([&] { return ::fsync(item); }) == 0) return 0;
  return errno == EINVAL || errno == ENOTSUP || errno == ENOSYS ? 0 : errno;
}

bool isRefusal(int error) {
  switch (error) {
    case EPERM:
    case EACCES:
    case ENOTSUP:
    case ENOSYS:
    case EINVAL:     // an id that has no meaning in this user namespace, an attribute of another system's
    case EOVERFLOW:  // an id that has none on this mount
      return true;
    default:
      return false;
  }
}

}  // namespace zk
