#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>

#include "files/NSFileManager.h"
#include "posix/FileError.h"
#include "posix/Folder.h"
#include "posix/ItemPath.h"
#include "posix/TreeCopy.h"
#include "posix/TreeRemoval.h"
#include "process/ErrorNumbers.h"

namespace zk {

namespace {

bool failed(int systemErrorNumber, const Ref<NSURL>& url, Ref<NSError>* error) {
  if (error != nullptr) *error = fileError(systemErrorNumber, url);
  return false;
}

/// Where memory ran out there may be none for the error either, and then it is not reported.
bool failedForMemory(const Ref<NSURL>& url, Ref<NSError>* error) {
  try {
    return failed(ENOMEM, url, error);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

bool NSFileManager::fileExistsAtPath(const Ref<NSString>& path, bool* isDirectory) {
  const ErrorNumberKeeper keeper;
  struct stat item;
  if (!path || path->bytes().find('\0') != std::string::npos) return false;
  if (::stat(path->fileSystemRepresentation().c_str(), &item) != 0) return false;
  if (isDirectory != nullptr) *isDirectory = S_ISDIR(item.st_mode);
  return true;
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
  const ItemPath item(url->path()->fileSystemRepresentation());
  if (!item.namesItem()) return failed(EINVAL, url, error);

  std::string failedAt;
  int number = 0;
  if (pendingItem_ != nullptr && pendingItem_->url->isEqual(url)) {
    number = removeTree(pendingItem_->folder, pendingItem_->name, failedAt);
  } else {
    const FileDescriptor folder = openFolderToSearch(AT_FDCWD, item.folder.c_str(), Links::followed);
    if (!folder.isOpen()) return failed(errno, url, error);
    number = removeTree(folder.get(), item.name, failedAt);
  }
  return number == 0 || failed(number, std::make_shared<NSURL>(joinedPath(item.folder, failedAt)), error);
} catch (const std::bad_alloc&) {
  return failedForMemory(url, error);
}

}  // namespace zk
