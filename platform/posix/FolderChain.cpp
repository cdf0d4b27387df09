#include "posix/FolderChain.h"

#include <fcntl.h>

#include <cerrno>

#include "posix/Folder.h"

namespace zk {

namespace {

/// Enough to go up and down between neighbouring levels without opening any anew. At least 2: a folder that may be read
/// but not searched can only be left by way of a parent that is still open.
constexpr std::size_t kLowestOpen = 4;

}  // namespace

FolderChain::FolderChain(FileDescriptor outermost) {
  // The outermost folder stays open, so its identity is never asked for.
  folders_.push_back({std::move(outermost), ItemIdentity()});
}

int FolderChain::current() const { return folders_.empty() ? AT_FDCWD : folders_.back().descriptor.get(); }

void FolderChain::enter(FileDescriptor folder, ItemIdentity identity) {
  folders_.push_back({std::move(folder), identity});
  if (folders_.size() > kLowestOpen + 1) folders_[folders_.size() - 1 - kLowestOpen].descriptor.reset();
}

int FolderChain::leave(FileDescriptor& left) {
  if (const int error = reopenParent(); error != 0) return error;
  left = std::move(folders_.back().descriptor);
  folders_.pop_back();
  return 0;
}

int FolderChain::reopenParent() {
  if (folders_.size() < 2) return 0;
  Folder& parent = folders_[folders_.size() - 2];
  if (parent.descriptor.isOpen()) return 0;

  FileDescriptor opened = openFolder(current(), "..", Links::refused);
  struct stat folder;
  if (!opened.isOpen() || ::fstat(opened.get(), &folder) != 0) return errno;
  if (identityOf(folder) != parent.identity) return ESTALE;
  parent.descriptor = std::move(opened);
  return 0;
}

}  // namespace zk
