#include "posix/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "posix/Folder.h"
#include "posix/FolderChain.h"

namespace zk {

namespace {

class TreeRemoval {
 public:
  explicit TreeRemoval(int folder) : outermost_(folder) {}

  int remove(const std::string& name) {
    int error = removeItem(name);
    while (error == 0 && !levels_.empty()) {
      Level& level = levels_.back();
      if (level.names.empty()) {
        error = leaveFolder();
      } else {
        std::string next = std::move(level.names.back());
        level.names.pop_back();
        error = removeItem(std::move(next));
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
    std::vector<std::string> names;  ///< what is still to be removed, the last first
  };

  int current() const { return levels_.empty() ? outermost_ : chain_.current(); }

  /// Removes the item or, when it is a folder that holds something, enters it.
  int removeItem(std::string name) {
    name_ = std::move(name);
    if (::unlinkat(current(), name_.c_str(), 0) == 0) return 0;
    const int error = errno;
    // What the call says of a folder: EISDIR on Linux, EPERM elsewhere.
    if (error != EISDIR && error != EPERM) return error;

    // Tried before the folder is entered, since this refuses a mount point untouched.
    if (::unlinkat(current(), name_.c_str(), AT_REMOVEDIR) == 0) return 0;
    if (errno == ENOTDIR) return error;
    if (errno != ENOTEMPTY && errno != EEXIST) return errno;
    return enterFolder();
  }

  int enterFolder() {
    FileDescriptor folder = openOwnFolder(current(), name_.c_str());
    struct stat status;
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0) return errno;
    // Where it is not ours to change, other permissions may do; if not, the first item in it says so.
    if ((status.st_mode & S_IRWXU) != S_IRWXU) ::fchmod(folder.get(), (status.st_mode & 07777) | S_IRWXU);

    Level level{std::move(name_), {}};
    const int error = readNames(folder.get(), level.names);
    name_.clear();
    levels_.push_back(std::move(level));
    chain_.enter(std::move(folder), identityOf(status));
    return error;
  }

  int leaveFolder() {
    FileDescriptor left;
    if (const int error = chain_.leave(left); error != 0) return error;
    name_ = std::move(levels_.back().name);
    levels_.pop_back();
    return ::unlinkat(current(), name_.c_str(), AT_REMOVEDIR) == 0 ? 0 : errno;
  }

  int outermost_;
  FolderChain chain_;
  std::vector<Level> levels_;
  std::string name_;
};

}  // namespace

int removeTree(int folder, const std::string& name, std::string& failedAt) {
  TreeRemoval removal(folder);
  const int error = removal.remove(name);
  if (error != 0) failedAt = removal.path();
  return error;
}

}  // namespace zk
