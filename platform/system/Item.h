#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

namespace zk {

/// An item on disk: a name in an open folder or, where the name is null, the item that `descriptor` itself has open.
/// Nothing that is done with it follows a link. Borrows both.
struct Item {
  int descriptor;
  const char* name = nullptr;

  bool isOpen() const { return name == nullptr; }
};

/// What makes an item on disk the same one, whatever its name: its device and its number there.
using ItemIdentity = std::pair<dev_t, ino_t>;

inline ItemIdentity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

/// What a folder says about one of the items in it.
struct Entry {
  std::string name;
  mode_t type;  ///< S_IFDIR, S_IFREG and so on; 0 when the folder does not tell
};

}  // namespace zk
