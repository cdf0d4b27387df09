#include "posix/FileContents.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "posix/Uninterrupted.h"

namespace zk {

namespace {

/// The most that one call is asked to copy, so that it comes back now and then.
constexpr off_t kLargestRequest = off_t{1} << 30;
constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

int writeAll(int destination, const char* bytes, std::size_t count, off_t offset) {
  while (count > 0) {
    const ssize_t written = uninterrupted([&] { return ::pwrite(destination, bytes, count, offset); });
    if (written < 0) return errno;
    bytes += written;
    count -= static_cast<std::size_t>(written);
    offset += written;
  }
  return 0;
}

/// Copies from `offset` up to `end` or the end of the file inside the kernel, as far as that goes. It may be refused,
/// by the file system or a filter, and it reads nothing of files whose contents are made up when they are read.
void copyInsideKernel(int source, int destination, off_t& offset, off_t end) {
  off_t from = offset;
  off_t to = offset;
  while (from < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - from, kLargestRequest));
    if (uninterrupted([&] { return ::copy_file_range(source, &from, destination, &to, wanted, 0); }) <= 0) break;
    offset = to;
  }
}

/// The same through this process, which either does it or tells why it cannot be done.
int copyThroughBuffer(int source, int destination, off_t& offset, off_t end) {
  std::array<char, kBufferSize> buffer;
  while (offset < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - offset, static_cast<off_t>(buffer.size())));
    const ssize_t count = uninterrupted([&] { return ::pread(source, buffer.data(), wanted, offset); });
    if (count < 0) return errno;
    if (count == 0) return 0;
    if (const int error = writeAll(destination, buffer.data(), static_cast<std::size_t>(count), offset); error != 0) {
      return error;
    }
    offset += count;
  }
  return 0;
}

int copyRange(int source, int destination, off_t& offset, off_t end) {
  copyInsideKernel(source, destination, offset, end);
  return copyThroughBuffer(source, destination, offset, end);
}

struct Stretch {
  off_t begin;
  off_t end;
};

/// The next stretch at or behind `offset` that is no hole, as far as the file system can tell; empty, at the end, when
/// there is none.
Stretch nextData(int source, off_t offset, off_t end) {
  const off_t data = ::lseek(source, offset, SEEK_DATA);
  if (data < 0) return errno == ENXIO ? Stretch{end, end} : Stretch{offset, end};
  const off_t hole = ::lseek(source, data, SEEK_HOLE);
  return {std::min(data, end), hole > data ? std::min(hole, end) : end};
}

/// Copies the first `end` bytes; `end` becomes less when the file turns out to have become shorter.
int copyData(int source, int destination, off_t& end) {
  off_t offset = 0;
  while (offset < end) {
    const Stretch data = nextData(source, offset, end);
    offset = data.begin;
    if (const int error = copyRange(source, destination, offset, data.end); error != 0) return error;
    if (offset < data.end) end = offset;
  }
  return 0;
}

}  // namespace

int copyContents(int source, int destination, off_t size) {
  // A file of no size may still have contents: those of /proc are made up when they are read.
  if (size == 0) {
    off_t offset = 0;
    return copyThroughBuffer(source, destination, offset, std::numeric_limits<off_t>::max());
  }
  if (::ioctl(destination, FICLONE, source) == 0) return 0;

  off_t end = size;
  if (const int error = copyData(source, destination, end); error != 0) return error;

  // A hole at the end was not written, and what was cut off meanwhile is no hole.
  struct stat now;
  if (::fstat(source, &now) != 0) return errno;
  end = std::min(end, now.st_size);
  return uninterrupted([&] { return ::ftruncate(destination, end); }) == 0 ? 0 : errno;
}

}  // namespace zk
