#pragma once

#include <sys/stat.h>

#include <compare>

namespace zk {

/// What tells an item on disk from every other, whatever its name.
struct ItemIdentity {
  dev_t device;
  ino_t number;

  auto operator<=>(const ItemIdentity&) const = default;
};

inline ItemIdentity identityOf(const struct stat& item) { return {item.st_dev, item.st_ino}; }

}  // namespace zk
