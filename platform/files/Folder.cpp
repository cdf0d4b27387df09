#include "files/Folder.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

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
  // Reading moves and closes its descriptor, so it gets one of its own.
  FileDescriptor own(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!own.isOpen()) return lastError();
  return readEntries(std::move(own), entries);
}

SystemError readEntries(FileDescriptor folder, std::vector<Entry>& entries) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(folder.get()), &::closedir);
  if (!stream) return lastError();
  folder.release();

  while (true) {
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else has this stream.
    const struct dirent* entry = ::readdir(stream.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") entries.push_back({std::string(name), port::typeOf(*entry)});
  }
  if (const auto error = lastError()) return error;
  std::sort(entries.begin(), entries.end(),
            [](const Entry& left, const Entry& right) { return left.name < right.name; });
  return {};
}

}  // namespace zk
