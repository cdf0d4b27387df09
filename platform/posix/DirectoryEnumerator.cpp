#include <fcntl.h>

#include <string>
#include <utility>
#include <vector>

#include "files/NSFileManager.h"
#include "files/Package.h"
#include "posix/Folder.h"
#include "posix/ItemPath.h"
#include "process/ErrorNumbers.h"

namespace zk {

namespace {

/// Walks by paths and holds no folder open between two items, for its holder may stop anywhere. It reads the names of a
/// folder when it enters it, that is when the item behind that folder is asked for. What lies below the longest path
/// that the operating system takes is passed over.
class DirectoryEnumerator final : public NSDirectoryEnumerator {
 public:
  DirectoryEnumerator(std::string folder, bool entersPackages)
      : last_(std::move(folder)), entersPackages_(entersPackages) {}

  bool start() { return enter(Links::followed); }

  Ref<NSURL> nextObject() override {
    const ErrorNumberKeeper keeper;
    if (isEnterable_) enter(Links::refused);
    isEnterable_ = false;
    while (!levels_.empty() && levels_.back().names.empty()) levels_.pop_back();
    if (levels_.empty()) return nullptr;

    Level& level = levels_.back();
    const std::string name = std::move(level.names.back());
    level.names.pop_back();
    // Every item may be a folder until it is opened as one.
    isEnterable_ = entersPackages_ || !isPackageName(name);
    last_.resize(level.pathLength);
    last_ = joinedPath(last_, name);
    return std::make_shared<NSURL>(last_);
  }

 private:
  struct Level {
    std::size_t pathLength;
    std::vector<std::string> names;  ///< of what was not yet yielded, the last first
  };

  bool enter(Links links) {
    const FileDescriptor folder = openFolder(AT_FDCWD, last_.c_str(), links);
    Level level{last_.size(), {}};
    if (!folder.isOpen() || readNames(folder.get(), level.names) != 0) return false;
    level.names = {std::make_move_iterator(level.names.rbegin()), std::make_move_iterator(level.names.rend())};
    levels_.push_back(std::move(level));
    return true;
  }

  std::string last_;  ///< the path of the item that was yielded last; at first the folder itself
  const bool entersPackages_;
  bool isEnterable_ = false;
  std::vector<Level> levels_;
};

}  // namespace

Ref<NSDirectoryEnumerator> NSFileManager::enumeratorAtURL(
    const Ref<NSURL>& url, const std::vector<Ref<NSString>>& /*includingPropertiesForKeys*/, unsigned long options,
    std::nullptr_t /*errorHandler*/) {
  const ErrorNumberKeeper keeper;
  const std::string path = url->path()->fileSystemRepresentation();
  const bool entersPackages = (options & NSDirectoryEnumerationSkipsPackageDescendants) == 0;
  const auto enumerator =
      std::make_shared<DirectoryEnumerator>(std::string(withoutTrailingSlashes(path)), entersPackages);
  return enumerator->start() ? enumerator : nullptr;
}

}  // namespace zk
