#include "darwin/FolderEntries.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "system/FileDescriptor.h"

namespace zk::darwin {

SystemError entriesOf(int folder, std::vector<Entry>& entries) {
  // Closing the stream closes its descriptor, so it gets one of its own.
  FileDescriptor own(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!own.isOpen()) return lastError();
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(own.get()), &::closedir);
  if (!stream) return lastError();
  own.release();
  while (true) {
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream is used here only.
    const dirent* entry = ::readdir(stream.get());
    // A folder that was removed holds nothing.
    if (entry == nullptr) return errno == ENOENT ? SystemError() : lastError();
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      entries.push_back({std::string(name), static_cast<mode_t>(DTTOIF(entry->d_type))});
    }
  }
}

}  // namespace zk::darwin
