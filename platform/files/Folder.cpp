#include "files/Folder.h"

#include <fcntl.h>

#include <algorithm>

#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

SystemError openFolderFor(int access, Item item, Links links, FileDescriptor& folder) {
  const int linkFlag = links == Links::refused ? O_NOFOLLOW : 0;
  const int flags = access | O_DIRECTORY | O_CLOEXEC | linkFlag;
  folder = FileDescriptor(uninterrupted([&] { return ::openat(item.descriptor, item.name, flags); }));
  return errorOf(folder.get());
}

}  // namespace

SystemError openFolder(Item item, Links links, FileDescriptor& folder) {
  return openFolderFor(O_RDONLY | O_NONBLOCK, item, links, folder);
}

SystemError openFolderToSearch(Item item, Links links, FileDescriptor& folder) {
  return openFolderFor(port::flagsToSearch(), item, links, folder);
}

SystemError openOwnFolder(Item item, FileDescriptor& folder) {
  const auto error = openFolder(item, Links::refused, folder);
  if (!error.is(EACCES)) return error;
  if (::fchmodat(item.descriptor, item.name, S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0) return error;
  return openFolder(item, Links::refused, folder);
}

SystemError readEntries(int folder, std::vector<Entry>& entries) {
  if (const auto error = port::readEntries(folder, entries)) return error;
  std::ranges::sort(entries, {}, &Entry::name);
  return {};
}

}  // namespace zk
