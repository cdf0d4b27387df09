#include "files/Durability.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "files/Folder.h"
#include "files/ItemPath.h"
#include "objects/Path.h"
#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// Waits for one item of a copied tree.
/// @param entries receives what it holds if it is a folder
SystemError syncItem(const std::string& path, std::vector<Entry>& entries) {
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
  const FileDescriptor item(uninterrupted([&] { return ::open(path.c_str(), kFlags); }));
  // A link reaches the disk together with its folder.
  if (!item.isOpen()) return errno == ELOOP ? SystemError() : lastError();
  if (const auto error = port::waitUntilOnDrive(item.get())) return error;
  const auto error = port::readEntries(item.get(), entries);
  return error.is(ENOTDIR) ? SystemError() : error;
}

/// Waits for each item of a copied tree separately. An item that cannot be waited for is an error, and so is a folder
/// that cannot be read: what it holds may not have reached the disk.
SystemError syncTree(std::string top) {
  std::vector<std::string> remaining{std::move(top)};
  while (!remaining.empty()) {
    const std::string path = std::move(remaining.back());
    remaining.pop_back();
    std::vector<Entry> entries;
    if (const auto error = syncItem(path, entries)) return error;
    for (const Entry& entry : entries) remaining.push_back(joinedPath(path, entry.name));
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
