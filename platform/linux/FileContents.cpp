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

/// A file up to this size is read and written by one call each.
constexpr off_t kSmallFile = 256 * 1024;
/// The most that the kernel is asked to copy in one call; its write-out then begins while the next part is copied.
constexpr off_t kLargestRequest = off_t{16} << 20;
constexpr off_t kBlockSize = 512;

/// An error that says that these two file systems will never do it.
bool isForGood(SystemError error) { return isUnsupported(error) || error.is(EXDEV, ENOTTY); }

bool sharesBlocks(int source, int destination, port::CopyMeans& means) {
  if (!means.mayShareBlocks) return false;
  const auto error = errorOf(::ioctl(destination, FICLONE, source));
  if (isForGood(error)) means.mayShareBlocks = false;
  return !error;
}

/// Copies from `offset` up to `end` or the end of the file inside the kernel, as far as that goes. It may be refused,
/// by the file system or a filter, and it reads nothing from files whose contents are made up when they are read.
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
    // The disk may as well begin. Whether it does makes no difference to what is waited for at the end.
    ::sync_file_range(destination, offset, count, SYNC_FILE_RANGE_WRITE);
    offset = to;
  }
}

/// The same through this process, which either does it or tells why it cannot be done. Both files are read and written
/// where they stand.
SystemError copyThroughBuffer(int source, int destination, off_t& offset, off_t end, port::CopyMeans& means) {
  // Not on the stack: where that can no longer grow, the process would end in the middle of a copy.
  if (!means.buffer) means.buffer = std::make_unique_for_overwrite<char[]>(kSmallFile);
  char* const buffer = means.buffer.get();
  while (offset < end) {
    const auto wanted = static_cast<std::size_t>(std::min(end - offset, kSmallFile));
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

/// The next stretch at or behind `offset` that is no hole, as far as the file system can tell; empty, at the end, when
/// there is none.
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
  // A hole at the end was not written, and what was cut off meanwhile is no hole.
  struct stat now;
  if (const auto error = errorOf(::fstat(source, &now))) return error;
  return errorOf(uninterrupted([&] { return ::ftruncate(destination, std::min(end, now.st_size)); }));
}

SystemError copyInto(int source, const struct stat& status, int destination, port::CopyMeans& means) {
  off_t offset = 0;
  // A file of no size may still have contents: those under /proc are made up when they are read.
  if (status.st_size == 0) {
    return copyThroughBuffer(source, destination, offset, std::numeric_limits<off_t>::max(), means);
  }
  if (sharesBlocks(source, destination, means)) return {};
  if (status.st_blocks < status.st_size / kBlockSize) return copyData(source, destination, status.st_size, means);
  if (status.st_size <= kSmallFile) return copyThroughBuffer(source, destination, offset, status.st_size, means);
  return copyRange(source, destination, offset, status.st_size, means);
}

}  // namespace

SystemError port::copyContents(int source, const struct stat& status, Item copy, mode_t mode, CopyMeans& means,
                               FileDescriptor& made) {
  constexpr int kCreate = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  made = FileDescriptor(uninterrupted([&] { return ::openat(copy.descriptor, copy.name, kCreate, mode); }));
  return made.isOpen() ? copyInto(source, status, made.get(), means) : lastError();
}

}  // namespace zk
