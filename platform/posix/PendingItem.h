#pragma once

#include <string>
#include <utility>

#include "files/NSFileManager.h"

namespace zk {

/// The item that a copy is about to make, for as long as the delegate is asked about it: where it goes, by the open
/// folder that it goes into.
struct NSFileManager::PendingItem {
  Ref<NSURL> url;
  int folder;
  std::string name;
};

/// Makes an item the pending one (null: none is) for the length of a scope.
class NSFileManager::PendingScope {
 public:
  PendingScope(NSFileManager& fileManager, const PendingItem* item)
      : fileManager_(fileManager), outer_(std::exchange(fileManager.pendingItem_, item)) {}
  ~PendingScope() { fileManager_.pendingItem_ = outer_; }
  PendingScope(const PendingScope&) = delete;
  PendingScope& operator=(const PendingScope&) = delete;

 private:
  NSFileManager& fileManager_;
  const PendingItem* outer_;
};

}  // namespace zk
