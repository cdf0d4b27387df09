#include "files/NSFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <new>
#include <vector>

#include "files/DirectoryEnumerator.h"
#include "files/FileError.h"
#include "files/Folder.h"
#include "files/ItemPath.h"
#include "files/PendingItem.h"
#include "files/ReplacementFolder.h"
#include "files/TreeCopy.h"
#include "files/TreeRemoval.h"
#include "objects/NSAutoreleasePool.h"
#include "objects/NeverDestroyed.h"
#include "objects/Path.h"
#include "system/ErrorNumbers.h"
#include "system/System.h"

namespace zk {

namespace {

Descent descentFor(unsigned long options) {
  if ((options & NSDirectoryEnumerationSkipsSubdirectoryDescendants) != 0) return Descent::nowhere;
  const bool skipsPackages = (options & NSDirectoryEnumerationSkipsPackageDescendants) != 0;
  return skipsPackages ? Descent::exceptPackages : Descent::everywhere;
}

bool failed(SystemError systemError, const Ref<NSURL>& url, Ref<NSError>* error) {
  if (error != nullptr) *error = fileError(systemError, url);
  return false;
}

/// When memory has run out, there may be none for the error either. Then none is reported.
bool failedForMemory(const Ref<NSURL>& url, Ref<NSError>* error) {
  try {
    return failed(SystemError(ENOMEM), url, error);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

SystemError removeAtPath(const ItemPath& path, std::string& failedAt) {
  FileDescriptor folder;
  failedAt = path.name;
  if (const auto error = openFolderToSearch({AT_FDCWD, path.folder.c_str()}, Links::followed, folder)) return error;
  return removeTree({folder.get(), path.name.c_str()}, failedAt);
}

}  // namespace

SystemError NSFileManager::PendingItem::removePredecessor(std::string& failedAt) const {
  failedAt = item.name;
  struct stat status;
  if (const auto error = errorOf(::fstatat(item.descriptor, item.name, &status, AT_SYMLINK_NOFOLLOW))) return error;
  if (surroundings == Surroundings::own) {
    // Whoever else puts something into a folder of the copy's own uses the very name.
    FileDescriptor folder;
    std::vector<Entry> entries;
    if (const auto error = openFolder({item.descriptor, "."}, Links::refused, folder)) return error;
    if (const auto error = readEntries(folder.get(), entries)) return error;
    if (!std::ranges::binary_search(entries, item.name, {}, &Entry::name)) return SystemError(EEXIST);
  }
  return removeTree(item, failedAt);
}

Ref<NSFileManager> NSFileManager::defaultManager() {
  static const Ref<NSFileManager>& shared = neverDestroyed<Ref<NSFileManager>>(std::make_shared<NSFileManager>());
  return shared;
}

Ref<NSFileManager> NSFileManager::fileManager() { return autorelease(System::current().makeFileManager()); }

bool NSFileManager::fileExistsAtPath(const Ref<NSString>& path, bool* isDirectory) {
  const ErrorNumberKeeper keeper;
  struct stat item;
  if (!path || path->bytes().find('\0') != std::string::npos) return false;
  if (::stat(fileSystemRepresentation(path).c_str(), &item) != 0) return false;
  if (isDirectory != nullptr) *isDirectory = S_ISDIR(item.st_mode);
  return true;
}

Ref<NSDirectoryEnumerator> NSFileManager::enumeratorAtURL(
    const Ref<NSURL>& url, const std::vector<Ref<NSString>>& /*includingPropertiesForKeys*/, unsigned long options,
    std::nullptr_t /*errorHandler*/) {
  const ErrorNumberKeeper keeper;
  const std::string path = fileSystemRepresentation(url->path());
  return makeDirectoryEnumerator(std::string(withoutTrailingSlashes(path)), descentFor(options));
}

Ref<NSURL> NSFileManager::URLForDirectory(unsigned long directory, unsigned long inDomain,
                                          const Ref<NSURL>& appropriateForURL, bool create, Ref<NSError>* error) {
  const bool isKnown = directory == NSItemReplacementDirectory && inDomain == NSUserDomainMask && create;
  const ItemPath item(fileSystemRepresentation(appropriateForURL->path()));
  std::string name;
  const auto systemError = isKnown ? makeReplacementFolder(item, name) : SystemError(EINVAL);
  if (!systemError) return std::make_shared<NSURL>(joinedPath(item.folder, name));
  failed(systemError, appropriateForURL, error);
  return nullptr;
}

bool NSFileManager::copyItemAtURL(const Ref<NSURL>& url, const Ref<NSURL>& toURL, Ref<NSError>* error) try {
  TreeCopy copy(*this, delegate_, url, toURL);
  if (copy.run()) return true;
  if (error != nullptr) *error = copy.error();
  return false;
} catch (const std::bad_alloc&) {
  return failedForMemory(url, error);
}

bool NSFileManager::removeItemAtURL(const Ref<NSURL>& url, Ref<NSError>* error) try {
  const ItemPath path(fileSystemRepresentation(url->path()));
  if (!path.namesItem()) return failed(SystemError(EINVAL), url, error);

  const bool isPending = pendingItem_ != nullptr && pendingItem_->url->isEqual(url);
  std::string failedAt;
  const auto systemError = isPending ? pendingItem_->removePredecessor(failedAt) : removeAtPath(path, failedAt);
  return !systemError || failed(systemError, std::make_shared<NSURL>(joinedPath(path.folder, failedAt)), error);
} catch (const std::bad_alloc&) {
  return failedForMemory(url, error);
}

}  // namespace zk
