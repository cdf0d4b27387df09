#include <fcntl.h>

#include <cerrno>

#include "files/NSFileManager.h"
#include "posix/FileError.h"
#include "posix/Folder.h"
#include "posix/ItemCopy.h"
#include "posix/ItemPath.h"
#include "posix/RandomName.h"

namespace zk {

namespace {

constexpr std::size_t kLongestName = 255;
constexpr int kMostAttempts = 100;

/// The beginning of `name`, at most `size` bytes of it, without a part of a UTF-8 character at its end.
std::string cutToSize(std::string name, std::size_t size) {
  if (name.size() <= size) return name;
  while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) --size;
  name.resize(size);
  return name;
}

/// A new name for a folder beside the item called `name`, hidden and not to be guessed; empty when the system gives no
/// random bytes.
std::string replacementName(const std::string& name) {
  const std::string digits = randomDigits();
  if (digits.empty()) return "";
  const std::string ending = "-" + digits;
  return "." + cutToSize(name, kLongestName - 1 - ending.size()) + ending;
}

int makeReplacementFolder(const ItemPath& item, std::string& name) {
  const FileDescriptor folder = openFolderToSearch(AT_FDCWD, item.folder.c_str(), Links::followed);
  if (!folder.isOpen()) return errno;
  int error = EEXIST;
  for (int attempt = 0; error == EEXIST && attempt < kMostAttempts; ++attempt) {
    name = replacementName(item.name);
    if (name.empty()) return errno;
    error = makePrivateFolder({folder.get(), name.c_str()}).isOpen() ? 0 : errno;
  }
  return error;
}

}  // namespace

Ref<NSURL> NSFileManager::URLForDirectory(unsigned long directory, unsigned long inDomain,
                                          const Ref<NSURL>& appropriateForURL, bool create, Ref<NSError>* error) {
  const ItemPath item(appropriateForURL->path()->fileSystemRepresentation());
  std::string name;
  int number = EINVAL;
  if (directory == NSItemReplacementDirectory && inDomain == NSUserDomainMask && create) {
    number = makeReplacementFolder(item, name);
  }
  if (number == 0) return std::make_shared<NSURL>(joinedPath(item.folder, name));
  if (error != nullptr) *error = fileError(number, appropriateForURL);
  return nullptr;
}

}  // namespace zk
