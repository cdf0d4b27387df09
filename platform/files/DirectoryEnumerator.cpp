#include "files/DirectoryEnumerator.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "files/Folder.h"
#include "files/NSBundle.h"
#include "files/Package.h"
#include "objects/Path.h"
#include "system/ErrorNumbers.h"

namespace zk {

namespace {

/// Walks by path and keeps no folder open between two items, since its owner may stop anywhere. It reads a folder just
/// before it yields it, and so knows whether the folder can be a bundle. Items whose paths are too long for the
/// operating system are skipped.
class DirectoryEnumerator final : public NSDirectoryEnumerator {
 public:
  DirectoryEnumerator(std::string folder, Descent descent) : last_(std::move(folder)), descent_(descent) {}

  SystemError start() {
    std::vector<Entry> entries;
    if (const auto error = read(Links::followed, entries)) return error;
    enter(std::move(entries));
    return {};
  }

  Ref<NSURL> nextObject() override {
    const ErrorNumberKeeper keeper;
    while (!levels_.empty() && levels_.back().entries.empty()) levels_.pop_back();
    if (levels_.empty()) return nullptr;

    Level& level = levels_.back();
    const Entry entry = std::move(level.entries.back());
    level.entries.pop_back();
    last_.resize(level.pathLength);
    appendName(last_, entry.name);
    return std::make_shared<NSURL>(last_, findingsOf(entry));
  }

 private:
  struct Level {
    std::size_t pathLength;
    std::vector<Entry> entries;  ///< not yet yielded, in reverse order
  };

  /// Enters the item at last_ if it is a folder to enter, and returns what that showed.
  NSURL::Findings findingsOf(const Entry& entry) {
    if (S_ISREG(entry.type)) return NSURL::Findings::noFolder;
    if (entry.type != 0 && !S_ISDIR(entry.type)) return NSURL::Findings::none;
    if (descent_ == Descent::nowhere) return NSURL::Findings::none;
    if (descent_ == Descent::exceptPackages && isPackageName(entry.name)) return NSURL::Findings::none;
    std::vector<Entry> entries;
    if (read(Links::refused, entries)) return NSURL::Findings::none;
    const bool mayBeBundle =
        std::ranges::any_of(entries, [](const Entry& held) { return isPartOfBundleLayout(held.name); });
    enter(std::move(entries));
    return mayBeBundle ? NSURL::Findings::none : NSURL::Findings::plainFolder;
  }

  SystemError read(Links links, std::vector<Entry>& entries) {
    FileDescriptor folder;
    if (const auto error = openFolder({AT_FDCWD, last_.c_str()}, links, folder)) return error;
    return readEntries(folder.get(), entries);
  }

  void enter(std::vector<Entry> entries) {
    std::ranges::reverse(entries);
    levels_.push_back({last_.size(), std::move(entries)});
  }

  std::string last_;  ///< the path of the item yielded last; at first that of the folder itself
  const Descent descent_;
  std::vector<Level> levels_;
};

}  // namespace

Ref<NSDirectoryEnumerator> makeDirectoryEnumerator(std::string path, Descent descent) {
  const auto enumerator = std::make_shared<DirectoryEnumerator>(std::move(path), descent);
  if (enumerator->start()) return nullptr;
  return enumerator;
}

}  // namespace zk
