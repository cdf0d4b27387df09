#pragma once

#include <utility>

#include "files/NSFileManager.h"
#include "system/Item.h"

namespace zk {

/// The item that a copy is about to make, while the delegate is asked about it.
struct NSFileManager::PendingItem {
  const Ref<NSURL>& url;
  Item item;
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
