#include "files/Metadata.h"

#include <fcntl.h>
#include <unistd.h>

#include "system/Port.h"

namespace zk {

namespace {

constexpr mode_t kSetIdBits = S_ISUID | S_ISGID;
constexpr uid_t kSameOwner = static_cast<uid_t>(-1);
constexpr gid_t kSameGroup = static_cast<gid_t>(-1);

SystemError getStatus(Item item, struct stat& status) {
  return errorOf(item.isOpen() ? ::fstat(item.descriptor, &status)
                               : ::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW));
}

SystemError setOwner(Item item, uid_t owner, gid_t group) {
  const auto error = errorOf(item.isOpen() ? ::fchown(item.descriptor, owner, group)
                                           : ::fchownat(item.descriptor, item.name, owner, group, AT_SYMLINK_NOFOLLOW));
  return isRefusal(error) ? SystemError() : error;
}

/// Sets group and owner separately: a user who may not give a file away may still give it to another of their groups.
SystemError copyOwner(const struct stat& original, Item copy) {
  struct stat now;
  if (const auto error = getStatus(copy, now)) return error;
  if (now.st_gid != original.st_gid) {
    if (const auto error = setOwner(copy, kSameOwner, original.st_gid)) return error;
  }
  return now.st_uid != original.st_uid ? setOwner(copy, original.st_uid, kSameGroup) : SystemError();
}

SystemError copyMode(const struct stat& original, Item copy) {
  if (S_ISLNK(original.st_mode)) return {};
  const mode_t mode = original.st_mode & kAllModeBits;
  const auto error = errorOf(copy.isOpen() ? ::fchmod(copy.descriptor, mode)
                                           : ::fchmodat(copy.descriptor, copy.name, mode, AT_SYMLINK_NOFOLLOW));
  // A system may drop a set-id bit without an error, and a file system without modes may show the right one anyway.
  if (!error && (mode & kSetIdBits) == 0) return {};
  struct stat now;
  if (const auto statusError = getStatus(copy, now)) return statusError;
  if ((now.st_mode & kAllModeBits) == mode) return {};
  return error ? error : SystemError(EPERM);
}

}  // namespace

SystemError copyTimes(const struct stat& original, Item copy) {
  const struct timespec times[2] = {port::accessTime(original), port::modificationTime(original)};
  const auto error = errorOf(copy.isOpen() ? ::futimens(copy.descriptor, times)
                                           : ::utimensat(copy.descriptor, copy.name, times, AT_SYMLINK_NOFOLLOW));
  // Not every file system has times for links.
  const bool isUnknown = isUnsupported(error) || error.is(EINVAL);
  return S_ISLNK(original.st_mode) && isUnknown ? SystemError() : error;
}

SystemError copyMetadata(Item original, const struct stat& status, Item copy) {
  if (const auto error = copyOwner(status, copy)) return error;
  if (const auto error = port::copyExtendedAttributes(original, copy)) return error;
  if (const auto error = copyMode(status, copy)) return error;
  if (const auto error = copyTimes(status, copy)) return error;
  return port::copyLocks(original, status, copy);
}

}  // namespace zk
