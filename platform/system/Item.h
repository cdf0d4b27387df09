#pragma once

#include <sys/stat.h>

#include <string>
#include <utility>

namespace zk {

/// An item on disk: a name in the open folder `descriptor` or, if the name is null, what `descriptor` itself has open.
/// Links are never followed. Borrows both.
struct Item {
  int descriptor;
  const char* name = nullptr;

  bool isOpen() const { return name == nullptr; }
};

/// Identifies an item on disk, whatever its name: its device, and its number on that device.
using ItemIdentity = std::pair<dev_t, ino_t>;

inline ItemIdentity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

/// What a folder says about one of the items in it.
struct Entry {
  std::string name;
  mode_t type;  ///< S_IFDIR, S_IFREG and so on; 0 when the folder does not tell
};

}  // namespace zk
