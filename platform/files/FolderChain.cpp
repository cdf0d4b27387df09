#include "files/FolderChain.h"

#include <fcntl.h>

#include "files/Folder.h"

namespace zk {

namespace {

/// Enough to go up and down between neighbouring levels without opening any again. At least 2: a folder that may be
/// read but not searched can only be left while its parent is still open.
constexpr std::size_t kLowestOpen = 4;

}  // namespace

FolderChain::FolderChain(FileDescriptor outermost) {
  // The outermost folder stays open, so its identity is never needed.
  folders_.push_back({std::move(outermost), ItemIdentity()});
}

int FolderChain::current() const { return folders_.empty() ? AT_FDCWD : folders_.back().descriptor.get(); }

void FolderChain::enter(FileDescriptor folder, ItemIdentity identity) {
  folders_.push_back({std::move(folder), identity});
  if (folders_.size() > kLowestOpen + 1) folders_[folders_.size() - 1 - kLowestOpen].descriptor.reset();
}

SystemError FolderChain::leave(FileDescriptor& left) {
  if (const auto error = reopenParent()) return error;
  left = std::move(folders_.back().descriptor);
  folders_.pop_back();
  return {};
}

SystemError FolderChain::reopenParent() {
  if (folders_.size() < 2) return {};
  Folder& parent = folders_[folders_.size() - 2];
  if (parent.descriptor.isOpen()) return {};

  FileDescriptor opened;
  struct stat folder;
  if (const auto error = openFolder({current(), ".."}, Links::refused, opened)) return error;
  if (const auto error = errorOf(::fstat(opened.get(), &folder))) return error;
  if (identityOf(folder) != parent.identity) return SystemError(ESTALE);
  parent.descriptor = std::move(opened);
  return {};
}

}  // namespace zk
