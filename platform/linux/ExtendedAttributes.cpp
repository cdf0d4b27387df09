#include <fcntl.h>
#include <sys/xattr.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "system/AttributeCopy.h"
#include "system/Port.h"

namespace zk {

namespace {

constexpr const char* kAccessACL = "system.posix_acl_access";
constexpr const char* kDefaultACL = "system.posix_acl_default";

/// The attribute calls on an item. The system's calls cannot take a folder and a name, so an item that is not open is
/// reached by a path through its folder's descriptor under /proc. Only the last component is a name, and it is not
/// followed.
class AttributedItem {
 public:
  explicit AttributedItem(Item item) : descriptor_(item.descriptor) {
    if (item.isOpen()) return;
    if (descriptor_ != AT_FDCWD) path_ = "/proc/self/fd/" + std::to_string(descriptor_) + "/";
    path_ += item.name;
  }

  ssize_t list(char* names, std::size_t size) const {
    return path_.empty() ? ::flistxattr(descriptor_, names, size) : ::llistxattr(path_.c_str(), names, size);
  }
  ssize_t get(const char* name, char* value, std::size_t size) const {
    return path_.empty() ? ::fgetxattr(descriptor_, name, value, size) : ::lgetxattr(path_.c_str(), name, value, size);
  }
  int set(const char* name, const std::string& value) const {
    return path_.empty() ? ::fsetxattr(descriptor_, name, value.data(), value.size(), 0)
                         : ::lsetxattr(path_.c_str(), name, value.data(), value.size(), 0);
  }
  int remove(const char* name) const {
    return path_.empty() ? ::fremovexattr(descriptor_, name) : ::lremovexattr(path_.c_str(), name);
  }

 private:
  int descriptor_;
  std::string path_;  ///< empty for an open item
};

bool isACL(std::string_view name) { return name == kAccessACL || name == kDefaultACL; }

}  // namespace

bool port::hasExtendedAttributes(int file) {
  // A file system without attributes has none to copy.
  const ssize_t size = ::flistxattr(file, nullptr, 0);
  return size > 0 || (size < 0 && !isUnsupported(lastError()));
}

SystemError port::copyExtendedAttributes(Item original, Item copy) {
  // ACLs come last: they may take away the owner's permission to set the others. Attributes may be gone by now, or be
  // too large for this file system, and there may be no /proc.
  return copyAttributes(AttributedItem(original), AttributedItem(copy), isACL, {ENODATA, ENOENT, E2BIG, ERANGE});
}

void port::removeInheritedACLs(Item item) {
  const AttributedItem attributed(item);
  attributed.remove(kAccessACL);
  attributed.remove(kDefaultACL);
}

}  // namespace zk
