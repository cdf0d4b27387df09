#include "posix/TreeCopy.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "posix/FileError.h"
#include "posix/Folder.h"
#include "posix/ItemPath.h"
#include "posix/Metadata.h"

namespace zk {

namespace {

void cutLastName(std::string& path) {
  const std::size_t slash = path.rfind('/');
  path.resize(slash == std::string::npos ? 0 : slash);
}

}  // namespace

TreeCopy::TreeCopy(NSFileManager& fileManager, NSFileManagerDelegate* delegate, Ref<NSURL> source,
                   Ref<NSURL> destination)
    : fileManager_(fileManager),
      delegate_(delegate),
      source_(std::move(source)),
      destination_(std::move(destination)) {}

bool TreeCopy::run() {
  const ItemPath destinationPath(destination_->path()->fileSystemRepresentation());
  const std::string sourcePath = source_->path()->fileSystemRepresentation();
  const Item top{std::string(withoutTrailingSlashes(sourcePath)), destinationPath.name, source_, destination_};
  if (const int error = openOutermost(destinationPath); error != 0) {
    return !isWanted(top) || goesOnAfter(error, source_, destination_);
  }

  bool goesOn = visit(top);
  while (goesOn && !levels_.empty()) {
    Level& level = levels_.back();
    const bool hasNext = level.next < level.names.size();
    goesOn = hasNext ? visit(itemInFolder(level.names[level.next++])) : leaveFolder();
  }
  if (!goesOn) return false;

  const int error = syncOutermost();
  return error == 0 || goesOnAfter(error, source_, destination_);
}

TreeCopy::Item TreeCopy::itemInFolder(const std::string& name) const {
  return {name, name, std::make_shared<NSURL>(joinedPath(sourcePath_, name)),
          std::make_shared<NSURL>(joinedPath(destinationPath_, name))};
}

bool TreeCopy::visit(const Item& item) {
  if (!isWanted(item)) return true;
  const int error = copy(item);
  return error == 0 || goesOnAfter(error, item.source, item.destination);
}

bool TreeCopy::isWanted(const Item& item) {
  if (delegate_ == nullptr) return true;
  const NSFileManager::PendingItem pending{item.destination, destinationChain_.current(), item.name};
  const NSFileManager::PendingScope scope(fileManager_, destinationChain_.isEmpty() ? nullptr : &pending);
  return delegate_->fileManager(fileManager_, item.source, item.destination);
}

bool TreeCopy::goesOnAfter(int error, const Ref<NSURL>& source, const Ref<NSURL>& destination) {
  error_ = fileError(error, source);
  return delegate_ != nullptr && delegate_->fileManager(fileManager_, error_, source, destination);
}

int TreeCopy::openOutermost(const ItemPath& path) {
  if (!path.namesItem()) return EINVAL;
  FileDescriptor folder = openFolderToSearch(AT_FDCWD, path.folder.c_str(), Links::followed);
  struct stat status;
  if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0) return errno;
  outermost_ = identityOf(status);
  destinationChain_ = FolderChain(std::move(folder));
  return 0;
}

int TreeCopy::copy(const Item& item) {
  struct stat status;
  if (const int error = lookAt(item, status); error != 0) return error;
  if (S_ISDIR(status.st_mode)) return enterFolder(item);
  if (status.st_nlink > 1) return copyLinked(item, status);
  return copyItem({sourceChain_.current(), item.sourceName.c_str()}, status,
                  {destinationChain_.current(), item.name.c_str()});
}

int TreeCopy::lookAt(const Item& item, struct stat& status) const {
  // Such a path would be cut, and lead to another item.
  if (item.sourceName.find('\0') != std::string::npos) return EINVAL;

  const int folder = sourceChain_.current();
  if (isAtTop() && ::fstatat(folder, item.sourceName.c_str(), &status, 0) == 0 && S_ISDIR(status.st_mode)) return 0;
  return ::fstatat(folder, item.sourceName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int TreeCopy::enterFolder(const Item& item) {
  Level level{};
  const Links links = isAtTop() ? Links::followed : Links::refused;
  FileDescriptor source = openFolder(sourceChain_.current(), item.sourceName.c_str(), links);
  if (!source.isOpen() || ::fstat(source.get(), &level.status) != 0) return errno;
  // What the copy goes into is part of what is copied: it would never end.
  if (identityOf(level.status) == outermost_) return EINVAL;
  if (const int error = readNames(source.get(), level.names); error != 0) return error;

  FileDescriptor destination = makePrivateFolder({destinationChain_.current(), item.name.c_str()});
  struct stat copied;
  if (!destination.isOpen() || ::fstat(destination.get(), &copied) != 0) return errno;

  sourcePath_ = withoutTrailingSlashes(item.source->path()->bytes());
  destinationPath_ = withoutTrailingSlashes(item.destination->path()->bytes());
  sourceChain_.enter(std::move(source), identityOf(level.status));
  destinationChain_.enter(std::move(destination), identityOf(copied));
  levels_.push_back(std::move(level));
  return 0;
}

int TreeCopy::copyLinked(const Item& item, struct stat& status) {
  const ItemPlace place{destinationChain_.current(), item.name.c_str()};
  if (hardLinks_.contains(status)) {
    const int error = hardLinks_.link(status, destinationChain_.outermost(), place);
    if (!isLinkRefusal(error)) return error;
  }
  const ItemPlace original{sourceChain_.current(), item.sourceName.c_str()};
  if (const int error = copyItem(original, status, place); error != 0) return error;
  const std::size_t outermostLength = withoutTrailingSlashes(destination_->path()->bytes()).rfind('/') + 1;
  const std::string_view path = withoutTrailingSlashes(item.destination->path()->bytes());
  return hardLinks_.add(status, place, std::string(path.substr(outermostLength)));
}

bool TreeCopy::leaveFolder() {
  FileDescriptor source;
  FileDescriptor destination;
  int error = sourceChain_.leave(source);
  if (error == 0) error = destinationChain_.leave(destination);
  const bool isUp = error == 0;
  if (isUp) error = finishFolder(source.get(), destination.get());

  Ref<NSURL> sourceURL = source_;
  Ref<NSURL> destinationURL = destination_;
  if (error != 0 && levels_.size() > 1) {
    sourceURL = std::make_shared<NSURL>(sourcePath_);
    destinationURL = std::make_shared<NSURL>(destinationPath_);
  }
  cutLastName(sourcePath_);
  cutLastName(destinationPath_);
  levels_.pop_back();
  // Without its parent there is nowhere to go on.
  return error == 0 || (goesOnAfter(error, sourceURL, destinationURL) && isUp);
}

int TreeCopy::finishFolder(int source, int destination) {
  struct stat made;
  struct stat there;
  const std::string name = destinationPath_.substr(destinationPath_.rfind('/') + 1);
  if (::fstat(destination, &made) != 0) return errno;
  if (::fstatat(destinationChain_.current(), name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  // What was copied has been moved away, and something else stands in its place.
  if (identityOf(made) != identityOf(there)) return ESTALE;

  if (const int error = copyMetadata({source}, levels_.back().status, {destination}); error != 0) return error;
  return waitUntilOnDisk(destination);
}

int TreeCopy::syncOutermost() const {
  const FileDescriptor folder = openFolder(destinationChain_.outermost(), ".", Links::refused);
  if (folder.isOpen()) return waitUntilOnDisk(folder.get());
  if (errno != EACCES) return errno;
  // One that things may be put into but that may not be read cannot be waited for alone.
  ::sync();
  return 0;
}

}  // namespace zk
