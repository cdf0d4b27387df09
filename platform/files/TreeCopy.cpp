#include "files/TreeCopy.h"

#include <fcntl.h>

#include <utility>

#include "files/FileError.h"
#include "files/Metadata.h"
#include "files/PendingItem.h"
#include "objects/Path.h"
#include "system/System.h"

namespace zk {

TreeCopy::TreeCopy(NSFileManager& fileManager, NSFileManagerDelegate* delegate, Ref<NSURL> source,
                   Ref<NSURL> destination)
    : fileManager_(fileManager),
      delegate_(delegate),
      source_(std::move(source)),
      destination_(std::move(destination)),
      sourcePath_(withoutTrailingSlashes(fileSystemRepresentation(source_->path()))),
      destinationPath_(fileSystemRepresentation(destination_->path())) {}

bool TreeCopy::run() {
  const Entry top{destinationPath_.name, 0};
  if (const auto error = openOutermost()) {
    return !isWanted(top, source_, destination_) || goesOnAfter(error, source_, destination_);
  }

  bool goesOn = visit(top);
  while (goesOn && !levels_.empty()) {
    Level& level = levels_.back();
    goesOn = level.next < level.entries.size() ? visit(level.entries[level.next++]) : leaveFolder();
  }
  if (!goesOn) return false;

  const auto error = durability_.waitForTop(destinationChain_.outermost());
  return !error || goesOnAfter(error, source_, destination_);
}

SystemError TreeCopy::openOutermost() {
  if (!destinationPath_.namesItem()) return SystemError(EINVAL);
  FileDescriptor folder;
  if (const auto error = openFolderToSearch({AT_FDCWD, destinationPath_.folder.c_str()}, Links::followed, folder)) {
    return error;
  }
  struct stat status;
  if (const auto error = errorOf(::fstat(folder.get(), &status))) return error;
  outermost_ = identityOf(status);
  destinationChain_ = FolderChain(std::move(folder));
  return {};
}

Item TreeCopy::original(const Entry& entry) const {
  return {sourceChain_.current(), isAtTop() ? sourcePath_.c_str() : entry.name.c_str()};
}

Item TreeCopy::copyOf(const Entry& entry) const { return {destinationChain_.current(), entry.name.c_str()}; }

Ref<NSURL> TreeCopy::urlBelow(const Ref<NSURL>& top, const std::string& name) const {
  if (isAtTop()) return top;
  std::string path(withoutTrailingSlashes(top->path()->bytes()));
  for (std::size_t index = 1; index < levels_.size(); ++index) appendName(path, levels_[index].name);
  appendName(path, name);
  return std::make_shared<NSURL>(std::move(path));
}

std::string TreeCopy::pathOfCopy(const Entry& entry) const {
  std::string path;
  for (const Level& level : levels_) path += level.name + "/";
  return path + entry.name;
}

bool TreeCopy::visit(const Entry& entry) {
  const Ref<NSURL> source = urlBelow(source_, entry.name);
  const Ref<NSURL> destination = urlBelow(destination_, entry.name);
  if (!isWanted(entry, source, destination)) return true;
  const auto error = copy(entry);
  return !error || goesOnAfter(error, source, destination);
}

bool TreeCopy::isWanted(const Entry& entry, const Ref<NSURL>& source, const Ref<NSURL>& destination) {
  if (delegate_ == nullptr) return true;
  if (destinationChain_.isEmpty()) return delegate_->fileManager(fileManager_, source, destination);

  // The delegate asks this file manager to remove what is at `destination`. That path may lead somewhere else by now,
  // so the removal must not go by it: it works in the folder that this copy has open, on the name that is about to be
  // made.
  const NSFileManager::PendingItem pending{destination, copyOf(entry), surroundings()};
  const NSFileManager::PendingScope scope(fileManager_, pending);
  return delegate_->fileManager(fileManager_, source, destination);
}

bool TreeCopy::goesOnAfter(SystemError error, const Ref<NSURL>& source, const Ref<NSURL>& destination) {
  error_ = fileError(error, source);
  return delegate_ != nullptr && delegate_->fileManager(fileManager_, error_, source, destination);
}

SystemError TreeCopy::copy(const Entry& entry) {
  if (S_ISREG(entry.type)) {
    const auto error = copyRegular(entry);
    // These two mean that it is no longer a regular file.
    if (!error.is(ESTALE, ELOOP)) return error;
  }
  struct stat status;
  if (const auto error = lookAt(entry, status)) return error;
  if (S_ISDIR(status.st_mode)) return enterFolder(entry);
  if (S_ISREG(status.st_mode)) return copyRegular(entry);
  return copyOnce(entry, status, [&] { return copySpecial(original(entry), status, copyOf(entry)); });
}

SystemError TreeCopy::copyRegular(const Entry& entry) {
  FileDescriptor file;
  struct stat status;
  if (const auto error = openFile(original(entry), file, status)) return error;
  return copyOnce(entry, status, [&] { return copyFile(file.get(), status, copyOf(entry), surroundings(), state_); });
}

template <class CopyItem>
SystemError TreeCopy::copyOnce(const Entry& entry, const struct stat& status, CopyItem copyItem) {
  if (status.st_nlink <= 1) return copyItem();
  if (hardLinks_.contains(status)) {
    const auto error = hardLinks_.link(status, destinationChain_.outermost(), copyOf(entry));
    if (!isLinkRefusal(error)) return error;
  }
  if (const auto error = copyItem()) return error;
  return hardLinks_.add(status, copyOf(entry), pathOfCopy(entry));
}

SystemError TreeCopy::lookAt(const Entry& entry, struct stat& status) const {
  const Item item = original(entry);
  if (isAtTop()) {
    // A zero byte would cut the path short and lead to another item.
    if (sourcePath_.find('\0') != std::string::npos) return SystemError(EINVAL);
    if (::fstatat(item.descriptor, item.name, &status, 0) == 0 && S_ISDIR(status.st_mode)) return {};
  }
  return errorOf(::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW));
}

SystemError TreeCopy::enterFolder(const Entry& entry) {
  Level level{entry.name, {}, {}, 0};
  FileDescriptor source;
  const Links links = isAtTop() ? Links::followed : Links::refused;
  if (const auto error = openFolder(original(entry), links, source)) return error;
  if (const auto error = errorOf(::fstat(source.get(), &level.status))) return error;
  // A folder that holds its own copy would be copied without end.
  if (identityOf(level.status) == outermost_) return SystemError(EINVAL);
  if (const auto error = readEntries(source.get(), level.entries)) return error;

  FileDescriptor destination;
  if (const auto error = makePrivateFolder(copyOf(entry), surroundings(), destination)) return error;
  struct stat made;
  if (const auto error = errorOf(::fstat(destination.get(), &made))) return error;
  if (isAtTop()) {
    state_.isTrusted = durability_.beginWithFolder(destination.get());
  }

  sourceChain_.enter(std::move(source), identityOf(level.status));
  destinationChain_.enter(std::move(destination), identityOf(made));
  levels_.push_back(std::move(level));
  return {};
}

bool TreeCopy::leaveFolder() {
  FileDescriptor source;
  FileDescriptor destination;
  auto error = sourceChain_.leave(source);
  if (!error) error = destinationChain_.leave(destination);
  const bool isUp = !error;
  const Level level = std::move(levels_.back());
  levels_.pop_back();
  if (isUp) {
    const auto waitError = isAtTop() ? durability_.waitForContents(destinationPath_) : SystemError();
    error = finishFolder(level, source.get(), destination.get());
    if (waitError) error = waitError;
  }
  if (!error) return true;
  const bool goesOn = goesOnAfter(error, urlBelow(source_, level.name), urlBelow(destination_, level.name));
  // Without the parent folder there is nowhere to go on.
  return goesOn && isUp;
}

SystemError TreeCopy::finishFolder(const Level& level, int source, int destination) const {
  struct stat made;
  struct stat there;
  if (const auto error = errorOf(::fstat(destination, &made))) return error;
  const int parent = destinationChain_.current();
  if (const auto error = errorOf(::fstatat(parent, level.name.c_str(), &there, AT_SYMLINK_NOFOLLOW))) return error;
  // The copy was moved away, and something else has taken its place.
  if (identityOf(made) != identityOf(there)) return SystemError(ESTALE);

  if (const auto error = copyMetadata({source}, level.status, {destination})) return error;
  return state_.isTrusted ? SystemError() : port::waitUntilAtDrive(destination);
}

}  // namespace zk
