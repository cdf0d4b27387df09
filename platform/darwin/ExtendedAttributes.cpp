#include <cerrno>
#include <string>

#include "darwin/Declarations.h"
#include "darwin/OpenItem.h"
#include "system/AttributeCopy.h"
#include "system/Port.h"

namespace zk {

namespace {

/// The attribute calls on an open item.
class AttributedItem {
 public:
  explicit AttributedItem(const darwin::OpenItem& item) : item_(item.get()) {}

  long list(char* names, std::size_t size) const { return ::flistxattr(item_, names, size, 0); }
  long get(const char* name, char* value, std::size_t size) const {
    return ::fgetxattr(item_, name, value, size, 0, 0);
  }
  int set(const char* name, const std::string& value) const {
    return ::fsetxattr(item_, name, value.data(), value.size(), 0, 0);
  }

 private:
  int item_;
};

}  // namespace

bool port::hasExtendedAttributes(int /*file*/) { return true; }

// The ACLs come later; see copyLocks().
SystemError port::copyExtendedAttributes(Item original, Item copy) {
  const darwin::OpenItem from(original);
  const darwin::OpenItem to(copy);
  if (!from.isOpen() || !to.isOpen()) return {};
  const auto isLast = [](const char*) { return false; };
  return copyAttributes(AttributedItem(from), AttributedItem(to), isLast, {ENOATTR, E2BIG, ERANGE, ENAMETOOLONG});
}

}  // namespace zk
