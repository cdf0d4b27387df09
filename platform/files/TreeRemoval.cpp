#include "files/TreeRemoval.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "files/Folder.h"
#include "files/FolderChain.h"
#include "files/Metadata.h"

namespace zk {

namespace {

/// How often a folder is read that others keep filling.
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

  /// The path of the item that the removal has come to.
  std::string path() const {
    std::string path;
    for (const Level& level : levels_) path += level.name + "/";
    return path + name_;
  }

 private:
  struct Level {
    std::string name;
    std::vector<Entry> entries;  ///< what is still to be removed, the last first
    int round;                   ///< how often the folder was read
  };

  int current() const { return levels_.empty() ? outermost_ : chain_.current(); }

  static SystemError unlessGone(SystemError error) { return error.is(ENOENT) ? SystemError() : error; }

  SystemError unlink(int flags) const { return errorOf(::unlinkat(current(), name_.c_str(), flags)); }

  /// Removes the item or, when it is a folder that holds something, enters it. Tried first is what the entry says that
  /// it is, then the other, since it may have changed since.
  /// @param round how often the folder, if it is one, will have been read then
  SystemError removeItem(Entry entry, int round = 1) {
    name_ = std::move(entry.name);
    if (S_ISDIR(entry.type)) {
      const auto error = removeFolder(round);
      if (!error.is(ENOTDIR)) return error;
    }
    const auto error = unlink(0);
    // What the call says of a folder: EISDIR on Linux, EPERM elsewhere.
    if (!error.is(EISDIR, EPERM)) return error;
    const auto folderError = removeFolder(round);
    return folderError.is(ENOTDIR) ? error : folderError;
  }

  SystemError removeFolder(int round) {
    // Tried before the folder is entered, since this refuses a mount point untouched.
    const auto error = unlink(AT_REMOVEDIR);
    return error.is(ENOTEMPTY, EEXIST) && round <= kMostRounds ? enterFolder(round) : error;
  }

  SystemError enterFolder(int round) {
    FileDescriptor folder;
    struct stat status;
    if (const auto error = openOwnFolder({current(), name_.c_str()}, folder)) return error;
    if (const auto error = errorOf(::fstat(folder.get(), &status))) return error;
    // Where the mode is not ours to change, other permissions may do; if not, the first item in the folder says so.
    if ((status.st_mode & S_IRWXU) != S_IRWXU) ::fchmod(folder.get(), (status.st_mode & kAllModeBits) | S_IRWXU);

    levels_.push_back({std::exchange(name_, {}), {}, round});
    const auto error = readEntries(folder.get(), levels_.back().entries);
    chain_.enter(std::move(folder), identityOf(status));
    return error;
  }

  /// Removes the folder that was emptied, or enters it again when somebody else has put something into it meanwhile.
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
