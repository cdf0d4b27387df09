#include "files/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "files/Folder.h"
#include "files/FolderChain.h"
#include "files/Metadata.h"
#include "system/Port.h"

namespace zk {

namespace {

/// How often to read a folder that others keep filling.
constexpr int kMostRounds = 100;

class TreeRemoval {
 public:
  explicit TreeRemoval(int folder) : outermost_(folder) {}

  SystemError remove(std::string name) {
    auto error = removeItem({std::move(name), 0});
    while (!error && !levels_.empty()) {
      std::vector<Entry>& entries = levels_.back().entries;
      if (entries.empty()) {
        error = leaveFolder();
      } else {
        Entry next = std::move(entries.back());
        entries.pop_back();
        error = unlessGone(removeItem(std::move(next)));
      }
    }
    return error;
  }

  /// The path of the item that is being removed.
  std::string path() const {
    std::string path;
    for (const Level& level : levels_) path += level.name + "/";
    return path + name_;
  }

 private:
  struct Level {
    std::string name;
    std::vector<Entry> entries;  ///< still to be removed, in reverse order
    int round;                   ///< how often the folder was read
  };

  int current() const { return levels_.empty() ? outermost_ : chain_.current(); }

  static SystemError unlessGone(SystemError error) { return error.is(ENOENT) ? SystemError() : error; }

  SystemError unlink(int flags) const {
    const auto error = errorOf(::unlinkat(current(), name_.c_str(), flags));
    const bool isUnlocked = error.is(EPERM, EACCES) && port::liftLocks({current(), name_.c_str()});
    return isUnlocked ? errorOf(::unlinkat(current(), name_.c_str(), flags)) : error;
  }

  /// Removes the item, or enters it if it is a folder that is not empty. Tries what the entry says it is first, then
  /// the other kind, since it may have changed meanwhile. An item of unknown kind may be a folder, and POSIX lets a
  /// system unlink a folder for root, with all that it holds left behind.
  /// @param round how often a folder will have been read once it is entered
  SystemError removeItem(Entry entry, int round = 1) {
    name_ = std::move(entry.name);
    if (entry.type == 0 || S_ISDIR(entry.type)) {
      const auto error = removeFolder(round);
      // ELOOP if a link took its place just before it was entered: POSIX lets a system say either.
      if (!error.is(ENOTDIR, ELOOP)) return error;
    }
    const auto error = unlink(0);
    // The error for a folder: EISDIR on Linux, EPERM elsewhere.
    if (!error.is(EISDIR, EPERM)) return error;
    const auto folderError = removeFolder(round);
    return folderError.is(ENOTDIR) ? error : folderError;
  }

  SystemError removeFolder(int round) {
    // Tried before entering the folder: this fails for a mount point and leaves it untouched.
    const auto error = unlink(AT_REMOVEDIR);
    return error.is(ENOTEMPTY, EEXIST) && round <= kMostRounds ? enterFolder(round) : error;
  }

  SystemError enterFolder(int round) {
    FileDescriptor folder;
    struct stat status;
    if (const auto error = openOwnFolder({current(), name_.c_str()}, folder)) return error;
    if (const auto error = errorOf(::fstat(folder.get(), &status))) return error;
    port::liftLocks({folder.get()});
    // If we may not change the mode, other permissions may be enough. If they are not, removing the first item fails.
    if ((status.st_mode & S_IRWXU) != S_IRWXU) ::fchmod(folder.get(), (status.st_mode & kAllModeBits) | S_IRWXU);

    levels_.push_back({std::exchange(name_, {}), {}, round});
    const auto error = readEntries(folder.get(), levels_.back().entries);
    chain_.enter(std::move(folder), identityOf(status));
    return error;
  }

  /// Removes the emptied folder, or enters it again if somebody else has put something into it meanwhile.
  SystemError leaveFolder() {
    FileDescriptor left;
    if (const auto error = chain_.leave(left)) return error;
    Level level = std::move(levels_.back());
    levels_.pop_back();
    return unlessGone(removeItem({std::move(level.name), S_IFDIR}, level.round + 1));
  }

  int outermost_;
  FolderChain chain_;
  std::vector<Level> levels_;
  std::string name_;
};

}  // namespace

SystemError removeTree(Item item, std::string& failedAt) {
  TreeRemoval removal(item.descriptor);
  const auto error = removal.remove(item.name);
  if (error) failedAt = removal.path();
  return error;
}

}  // namespace zk
