#include <sys/xattr.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "system/Port.h"

namespace zk {

namespace {

/// How often to measure again what keeps growing.
constexpr int kMostAttempts = 10;

constexpr const char* kAccessACL = "system.posix_acl_access";
constexpr const char* kDefaultACL = "system.posix_acl_default";

/// The attribute calls on an item. The system's calls cannot take a folder and a name, so an item that is not open is
/// reached by a path through its folder's descriptor under /proc. Only the last component is a name, and it is not
/// followed.
class AttributedItem {
 public:
  explicit AttributedItem(Item item) : descriptor_(item.descriptor) {
    if (!item.isOpen()) path_ = "/proc/self/fd/" + std::to_string(item.descriptor) + "/" + item.name;
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

/// Fills `result` with a call that returns the size if it is given no room, and fails with ERANGE if the room is too
/// small.
template <class Call>
SystemError readWhole(std::string& result, Call call) {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    const ssize_t size = call(nullptr, 0);
    if (size < 0) return lastError();
    result.resize(static_cast<std::size_t>(size));
    const ssize_t filled = size == 0 ? 0 : call(result.data(), result.size());
    if (filled < 0 && errno == ERANGE) continue;
    if (filled < 0) return lastError();
    result.resize(static_cast<std::size_t>(filled));
    return {};
  }
  return SystemError(ERANGE);
}

bool isACL(std::string_view name) { return name == kAccessACL || name == kDefaultACL; }

/// The error of an attribute that could not be copied; none if the attribute is simply left out: it was refused, is too
/// large for this file system, is gone by now (ENODATA), or there is no /proc.
SystemError unlessLeftOut(SystemError error) {
  return isRefusal(error) || error.is(ENODATA, ENOENT, E2BIG, ERANGE) ? SystemError() : error;
}

SystemError copyAttribute(const AttributedItem& original, const AttributedItem& copy, const char* name) {
  std::string value;
  const auto error = readWhole(value, [&](char* room, std::size_t size) { return original.get(name, room, size); });
  return unlessLeftOut(error ? error : errorOf(copy.set(name, value)));
}

}  // namespace

bool port::hasExtendedAttributes(int file) {
  // A file system without attributes has none to copy.
  const ssize_t size = ::flistxattr(file, nullptr, 0);
  return size > 0 || (size < 0 && !isUnsupported(lastError()));
}

SystemError port::copyExtendedAttributes(Item original, Item copy) {
  const AttributedItem from(original);
  const AttributedItem to(copy);
  std::string names;
  const auto error = readWhole(names, [&](char* room, std::size_t size) { return from.list(room, size); });
  if (error) return unlessLeftOut(error);

  // ACLs come last: they may take away the owner's permission to set the others.
  for (const bool areACLs : {false, true}) {
    // Each name ends with a zero byte.
    for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
      const char* name = names.c_str() + start;
      if (isACL(name) != areACLs) continue;
      if (const auto failure = copyAttribute(from, to, name)) return failure;
    }
  }
  return {};
}

void port::removeInheritedACLs(Item item) {
  const AttributedItem attributed(item);
  attributed.remove(kAccessACL);
  attributed.remove(kDefaultACL);
}

}  // namespace zk
