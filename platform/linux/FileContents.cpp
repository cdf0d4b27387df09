#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "system/Port.h"
#include "system/ReadingAndWriting.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// The most that the kernel is asked to copy in one call. The disk begins to write such a part while the next is
/// copied. Smaller files are left to the wait at the end, which can put them in order: to begin with each file of 1 MiB
/// made the copy of 250 of them half as slow again.
constexpr off_t kLargestRequest = off_t{8} << 20;
constexpr off_t kBufferSize = off_t{256} << 10;
constexpr off_t kBlockSize = 512;

/// Whether the error means that these two file systems will never do it.
bool isForGood(SystemError error) { return isUnsupported(error) || error.is(EXDEV, ENOTTY); }

bool sharesBlocks(int source, int destination, port::CopyMeans& means) {
  if (!means.mayShareBlocks) return false;
  const auto error = errorOf(::ioctl(destination, FICLONE, source));
  if (isForGood(error)) means.mayShareBlocks = false;
  return !error;
}

/// Copies inside the kernel, from `offset` up to `end` or the end of the file, as far as it gets. The file system or a
/// filter may refuse it, and files whose contents are made up on reading yield nothing.
void copyInsideKernel(int source, int destination, off_t& offset, off_t end, port::CopyMeans& means) {
  off_t from = offset;
  off_t to = offset;
  while (means.mayCopyInKernel && from < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - from, kLargestRequest));
    const ssize_t count = uninterrupted([&] { return ::copy_file_range(source, &from, destination, &to, wanted, 0); });
    if (count <= 0) {
      if (count < 0 && isForGood(lastError())) means.mayCopyInKernel = false;
      return;
    }
    // A hint only: the wait at the end is for everything, whether or not the disk has begun.
    if (count == kLargestRequest) ::sync_file_range(destination, offset, count, SYNC_FILE_RANGE_WRITE);
    offset = to;
  }
}

/// The same through a buffer, which either succeeds or returns an error. Both files are used at their current
/// positions.
SystemError copyThroughBuffer(int source, int destination, off_t& offset, off_t end, port::CopyMeans& means) {
  // Not on the stack: if that can no longer grow, the process ends in the middle of a copy.
  if (!means.buffer) means.buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
  char* const buffer = means.buffer.get();
  while (offset < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - offset, kBufferSize));
    const ssize_t count = uninterrupted([&] { return ::read(source, buffer, wanted); });
    if (count < 0) return lastError();
    if (count == 0) return {};
    if (const auto error = writeAll(destination, {buffer, static_cast<std::size_t>(count)})) return error;
    offset += count;
  }
  return {};
}

SystemError copyRange(int source, int destination, off_t& offset, off_t end, port::CopyMeans& means) {
  copyInsideKernel(source, destination, offset, end, means);
  if (offset == end) return {};
  if (const auto error = errorOf(::lseek(source, offset, SEEK_SET))) return error;
  if (const auto error = errorOf(::lseek(destination, offset, SEEK_SET))) return error;
  return copyThroughBuffer(source, destination, offset, end, means);
}

struct Stretch {
  off_t begin;
  off_t end;
};

/// The next stretch at or after `offset` that is not a hole, as far as the file system knows; if there is none, an
/// empty one at the end.
Stretch nextData(int source, off_t offset, off_t end) {
  const off_t data = ::lseek(source, offset, SEEK_DATA);
  if (data < 0) return errno == ENXIO ? Stretch{end, end} : Stretch{offset, end};
  const off_t hole = ::lseek(source, data, SEEK_HOLE);
  return {std::min(data, end), hole > data ? std::min(hole, end) : end};
}

/// Copies a file that may have holes, whose size was `end`.
SystemError copyData(int source, int destination, off_t end, port::CopyMeans& means) {
  off_t offset = 0;
  while (offset < end) {
    const Stretch data = nextData(source, offset, end);
    offset = data.begin;
    if (const auto error = copyRange(source, destination, offset, data.end, means)) return error;
    if (offset < data.end) end = offset;
  }
  // A hole at the end was not written. But if the source was cut short meanwhile, what is missing is not a hole.
  struct stat now;
  if (const auto error = errorOf(::fstat(source, &now))) return error;
  return errorOf(uninterrupted([&] { return ::ftruncate(destination, std::min(end, now.st_size)); }));
}

SystemError copyInto(int source, const struct stat& status, int destination, port::CopyMeans& means) {
  off_t offset = 0;
  // A file of size 0 may still have contents: those under /proc are made up on reading.
  if (status.st_size == 0) {
    return copyThroughBuffer(source, destination, offset, std::numeric_limits<off_t>::max(), means);
  }
  if (sharesBlocks(source, destination, means)) return {};
  const bool mayHaveHoles = status.st_blocks < status.st_size / kBlockSize;
  return mayHaveHoles ? copyData(source, destination, status.st_size, means)
                      : copyRange(source, destination, offset, status.st_size, means);
}

}  // namespace

SystemError port::copyContents(int source, const struct stat& status, Item copy, mode_t mode, CopyMeans& means,
                               FileDescriptor& made) {
  constexpr int kCreate = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  made = FileDescriptor(uninterrupted([&] { return ::openat(copy.descriptor, copy.name, kCreate, mode); }));
  return made.isOpen() ? copyInto(source, status, made.get(), means) : lastError();
}

}  // namespace zk
