#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "objects/NSData.h"
#include "objects/NSURL.h"
#include "posix/FileDescriptor.h"
#include "posix/RandomName.h"
#include "posix/Uninterrupted.h"

namespace zk {

namespace {

constexpr mode_t kNewFileMode = 0666;

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Writes and closes; some file systems tell of a failed write only when the file is closed.
bool writeAllAndClose(FileDescriptor descriptor, std::string_view bytes) {
  return writeAll(descriptor.get(), bytes) && ::close(descriptor.release()) == 0;
}

/// A name beside `path` that is as good as never taken, and short: a file whose own name is as long as names can be
/// still has room for its temporary one. Empty when the system gives no random bytes.
std::string temporaryNameBeside(const std::string& path) {
  const std::string digits = randomDigits();
  return digits.empty() ? "" : path.substr(0, path.rfind('/') + 1) + ".zk-" + digits;
}

bool replaceFile(const std::string& path, std::string_view bytes) {
  const std::string temporary = temporaryNameBeside(path);
  if (temporary.empty()) return false;
  FileDescriptor descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode));
  if (!descriptor.isOpen()) return false;
  const bool isReplaced =
      writeAllAndClose(std::move(descriptor), bytes) && ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!isReplaced) ::unlink(temporary.c_str());
  return isReplaced;
}

}  // namespace

Ref<NSData> NSData::dataWithContentsOfURL(const Ref<NSURL>& url) {
  const std::string path = url->path()->fileSystemRepresentation();
  const FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat file;
  if (!descriptor.isOpen() || ::fstat(descriptor.get(), &file) != 0 || !S_ISREG(file.st_mode)) return nullptr;
  if (file.st_size > static_cast<off_t>(kLargestFileReadWhole)) return nullptr;

  // One byte more than the size tells the end of the file; a file that grows meanwhile is read to its new end.
  std::string bytes(static_cast<std::size_t>(file.st_size) + 1, '\0');
  std::size_t filled = 0;
  while (true) {
    const ssize_t count =
        uninterrupted([&] { return ::read(descriptor.get(), bytes.data() + filled, bytes.size() - filled); });
    if (count < 0) return nullptr;
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
    if (filled > kLargestFileReadWhole) return nullptr;
    if (filled == bytes.size()) bytes.resize(bytes.size() * 2);
  }
  bytes.resize(filled);
  return std::make_shared<NSData>(std::move(bytes));
}

bool NSData::writeToURL(const Ref<NSURL>& url, bool atomically) const {
  const std::string path = url->path()->fileSystemRepresentation();
  if (atomically) return replaceFile(path, bytes_);
  FileDescriptor descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
  return descriptor.isOpen() && writeAllAndClose(std::move(descriptor), bytes_);
}

}  // namespace zk
