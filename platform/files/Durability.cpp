#include "files/Durability.h"

#include <fcntl.h>
#include <unistd.h>

#include "files/DirectoryEnumerator.h"
#include "files/Folder.h"
#include "files/ItemPath.h"
#include "objects/Path.h"
#include "system/Port.h"
#include "system/System.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

SystemError syncItem(const std::string& path) {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
  const FileDescriptor item(uninterrupted([&] { return ::open(path.c_str(), kFlags); }));
  // A link reaches the disk together with its folder.
  if (!item.isOpen()) return errno == ELOOP ? SystemError() : lastError();
  return port::waitUntilOnDrive(item.get());
}

/// Waits for each item of a copied tree separately.
SystemError syncTree(const std::string& top) {
  if (const auto error = syncItem(top)) return error;
  const Ref<NSDirectoryEnumerator> items = makeDirectoryEnumerator(top, Descent::everywhere);
  if (!items) return lastError();
  while (const Ref<NSURL> item = items->nextObject()) {
    if (const auto error = syncItem(fileSystemRepresentation(item->path()))) return error;
  }
  return {};
}

SystemError syncOutermost(int outermost) {
  FileDescriptor folder;
  const auto error = openFolder({outermost, "."}, Links::refused, folder);
  return error ? error : port::waitUntilOnDrive(folder.get());
}

}  // namespace

bool Durability::beginWithFolder(int folder) {
  folder_ = FileDescriptor(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
  isTrusted_ = folder_.isOpen() && port::isTrusted(folder);
  return isTrusted_;
}

SystemError Durability::waitForContents(const ItemPath& top) {
  // Each item was waited for, but may still be only in the drive's cache.
  if (!isTrusted_) return folder_.isOpen() ? port::waitForBarrier(folder_.get()) : SystemError();
  const auto error = port::syncFileSystem(folder_.get());
  isWholeFileSystemSynced_ = !error;
  // The error may be another file's. Waiting for each item shows whether it was one of ours.
  return error ? syncTree(joinedPath(top.folder, top.name)) : error;
}

SystemError Durability::waitForTop(int outermost) const {
  if (isTrusted_) {
    if (const auto error = port::waitUntilOnDrive(folder_.get())) return error;
  }
  if (isWholeFileSystemSynced_) return {};
  const auto error = syncOutermost(outermost);
  if (!error.is(EACCES)) return error;
  // A folder that we may write to but not read cannot be waited for on its own, so we wait for everything. Where that
  // call does not reach the drive's storage, waiting for the copy does.
  ::sync();
  return folder_.isOpen() ? port::waitUntilOnDrive(folder_.get()) : SystemError();
}

}  // namespace zk
