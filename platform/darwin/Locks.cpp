#include "darwin/Locks.h"

#include <fcntl.h>
#include <sys/acl.h>

#include <cerrno>
#include <memory>
#include <type_traits>

#include "darwin/OpenItem.h"
#include "system/ErrorNumbers.h"
#include "system/Port.h"

namespace zk {

namespace {

constexpr std::uint32_t kLocks = UF_IMMUTABLE | UF_APPEND | SF_IMMUTABLE | SF_APPEND;
/// The flags that belong to an item. The others tell how its volume stores it, or protect the system's own files.
constexpr std::uint32_t kCopied = kLocks | UF_NODUMP | UF_OPAQUE | UF_HIDDEN | SF_ARCHIVED;

using ACL = std::unique_ptr<std::remove_pointer_t<acl_t>, int (*)(void*)>;

SystemError unlessRefusal(SystemError error) { return isRefusal(error) ? SystemError() : error; }

/// The item's ACL; none, with errno set, if it has none or it cannot be read.
ACL aclOf(int item) { return {::acl_get_fd_np(item, ACL_TYPE_EXTENDED), &::acl_free}; }

SystemError copyACL(int original, int copy) {
  const ACL list = aclOf(original);
  if (list) return unlessRefusal(errorOf(::acl_set_fd_np(copy, list.get(), ACL_TYPE_EXTENDED)));
  return errno == ENOENT ? SystemError() : unlessRefusal(lastError());
}

SystemError copyFlags(std::uint32_t original, int copy) {
  struct stat status;
  const std::uint32_t wanted = original & kCopied;
  if (const auto error = errorOf(::fstat(copy, &status))) return error;
  if ((status.st_flags & kCopied) == wanted) return {};
  const std::uint32_t others = status.st_flags & ~kCopied;
  const auto error = errorOf(::fchflags(copy, others | wanted));
  // Only root may set some of them. The others are not left out for that.
  return isRefusal(error) ? unlessRefusal(errorOf(::fchflags(copy, others | (wanted & UF_SETTABLE)))) : error;
}

}  // namespace

bool darwin::isLocked(const struct stat& status) { return (status.st_flags & kLocks) != 0; }

SystemError port::copyLocks(Item original, const struct stat& status, Item copy) {
  const darwin::OpenItem from(original);
  const darwin::OpenItem to(copy);
  if (!from.isOpen() || !to.isOpen()) return {};
  if (const auto error = copyACL(from.get(), to.get())) return error;
  return copyFlags(status.st_flags, to.get());
}

bool port::liftLocks(Item item) {
  const ErrorNumberKeeper keeper;
  const darwin::OpenItem opened(item);
  struct stat status;
  return opened.isOpen() && ::fstat(opened.get(), &status) == 0 && darwin::isLocked(status) &&
         ::fchflags(opened.get(), status.st_flags & ~kLocks) == 0;
}

void port::removeInheritedACLs(Item item) {
  const darwin::OpenItem opened(item);
  if (!opened.isOpen() || !aclOf(opened.get())) return;
  const std::unique_ptr<std::remove_pointer_t<filesec_t>, void (*)(filesec_t)> change(::filesec_init(),
                                                                                     &::filesec_free);
  if (change && ::filesec_set_property(change.get(), FILESEC_ACL, _FILESEC_REMOVE_ACL) == 0) {
    ::fchmodx_np(opened.get(), change.get());
  }
}

}  // namespace zk
