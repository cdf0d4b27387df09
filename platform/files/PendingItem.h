#pragma once

#include <utility>

#include "files/ItemCopy.h"
#include "files/NSFileManager.h"
#include "system/Item.h"

namespace zk {

/// The item that a copy is about to make, while the delegate is asked about it.
struct NSFileManager::PendingItem {
  const Ref<NSURL>& url;
  Item item;
  Surroundings surroundings;

  /// Removes what is in the item's place. But a file system may take two names for one, for instance if they differ
  /// only in case. An earlier item of the same copy then is in the way: it stays, the removal fails with EEXIST, and so
  /// will the copy.
  SystemError removePredecessor(std::string& failedAt) const;
};

/// Makes an item the pending one for the length of a scope.
class NSFileManager::PendingScope {
 public:
  PendingScope(NSFileManager& fileManager, const PendingItem& item)
      : fileManager_(fileManager), outer_(std::exchange(fileManager.pendingItem_, &item)) {}
  ~PendingScope() { fileManager_.pendingItem_ = outer_; }
  PendingScope(const PendingScope&) = delete;
  PendingScope& operator=(const PendingScope&) = delete;

 private:
  NSFileManager& fileManager_;
  const PendingItem* outer_;
};

}  // namespace zk
