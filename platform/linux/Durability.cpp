#include <linux/magic.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstdlib>

#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// The first version of Linux whose syncfs() reports write errors.
constexpr long kMajor = 5;
constexpr long kMinor = 8;

bool doesSyncTellErrors() {
  utsname kernel;
  if (::uname(&kernel) != 0) return false;
  char* rest = nullptr;
  const long major = std::strtol(kernel.release, &rest, 10);
  const long minor = *rest == '.' ? std::strtol(rest + 1, nullptr, 10) : 0;
  return major > kMajor || (major == kMajor && minor >= kMinor);
}

bool isDone(SystemError error) { return !error || isUnsupported(error) || error.is(EINVAL); }

}  // namespace

SystemError port::waitUntilOnDrive(int item) {
  const auto error = errorOf(uninterrupted([&] { return ::fsync(item); }));
  return isDone(error) ? SystemError() : error;
}

// This system has the drive write out its cache at every wait.
SystemError port::waitUntilAtDrive(int item) { return port::waitUntilOnDrive(item); }
SystemError port::waitForBarrier(int item) { return port::waitUntilOnDrive(item); }

/// The one list of file systems that are trusted, and why.
///
/// They are local and part of the kernel: their syncfs() writes all data, commits the journal (ext4), log (XFS) or
/// transaction (Btrfs) that holds the folders' entries, and flushes the drive. tmpfs has nothing to write. They keep
/// modes and owners as they are. FUSE and network file systems promise neither: their server decides.
bool port::isTrusted(int folder) {
  struct statfs fileSystem;
  if (::fstatfs(folder, &fileSystem) != 0) return false;
  switch (fileSystem.f_type) {
    case EXT4_SUPER_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
      return doesSyncTellErrors();
    default:
      return false;
  }
}

SystemError port::syncFileSystem(int folder) {
  if (const auto error = errorOf(uninterrupted([&] { return ::syncfs(folder); }))) return error;
  // The driver for plain ext2 has the same number as ext4, and flushes the drive only for a single item.
  return port::waitUntilOnDrive(folder);
}

}  // namespace zk
