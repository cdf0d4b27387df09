#include <copyfile.h>
#include <fcntl.h>
#include <sys/clonefile.h>
#include <unistd.h>

#include "darwin/Locks.h"
#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// Opens a clone for reading, which suffices to change it later. It has the original's mode, which may not let its new
/// owner read it.
SystemError openClone(Item clone, FileDescriptor& made) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const auto open = [&] {
    made = FileDescriptor(uninterrupted([&] { return ::openat(clone.descriptor, clone.name, kFlags); }));
    return errorOf(made.get());
  };
  const auto error = open();
  if (!error.is(EACCES)) return error;
  if (::fchmodat(clone.descriptor, clone.name, S_IRUSR | S_IWUSR, AT_SYMLINK_NOFOLLOW) != 0) return error;
  return open();
}

/// Makes `copy` a clone of the open file `source`.
/// @return whether there is a clone; if not, `error` says whether there was another error than that the volumes cannot
/// clone
bool makeClone(int source, const struct stat& status, Item copy, port::CopyMeans& means, SystemError& error) {
  // A clone has the flags, too, and these would keep it from getting its other metadata.
  if (!means.mayShareBlocks || darwin::isLocked(status)) return false;
  error = errorOf(::fclonefileat(source, copy.descriptor, copy.name, CLONE_NOOWNERCOPY));
  if (!error) return true;
  if (isUnsupported(error) || error.is(EXDEV)) means.mayShareBlocks = false;
  if (!error.is(EEXIST)) error = SystemError();
  return false;
}

}  // namespace

// What a clone loses is what every new file lacks: the caller puts it right.
SystemError port::copyContents(int source, const struct stat& status, Item copy, mode_t mode, CopyMeans& means,
                               FileDescriptor& made) {
  SystemError cloneError;
  if (makeClone(source, status, copy, means, cloneError)) {
    if (const auto error = openClone(copy, made)) return error;
    // The manual page leaves open whether a clone keeps its original's ACL, which may forbid to set anything else.
    removeInheritedACLs({made.get()});
    return {};
  }
  if (cloneError) return cloneError;

  constexpr int kCreate = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  made = FileDescriptor(uninterrupted([&] { return ::openat(copy.descriptor, copy.name, kCreate, mode); }));
  if (!made.isOpen()) return lastError();
  // Keeps holes where both file systems have them, and copies everything else.
  return errorOf(::fcopyfile(source, made.get(), nullptr, COPYFILE_DATA | COPYFILE_DATA_SPARSE));
}

}  // namespace zk
