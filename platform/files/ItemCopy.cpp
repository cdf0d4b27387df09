#include "files/ItemCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include "files/Folder.h"
#include "files/Metadata.h"
#include "system/ReadingAndWriting.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;

/// Whether a file made with the mode of `original` needs no change of mode, owner or group.
bool needsNoChange(const struct stat& original, const NewFile& newFile) {
  const mode_t mode = original.st_mode & kAllModeBits;
  return (mode & newFile.permissions) == mode && original.st_uid == newFile.owner && original.st_gid == newFile.group;
}

/// Remembers the owner, group and permissions of a new file that was made with all permissions.
SystemError learnFrom(int file, CopyState& state) {
  struct stat made;
  if (const auto error = errorOf(::fstat(file, &made))) return error;
  state.newFile = NewFile{made.st_uid, made.st_gid, static_cast<mode_t>(made.st_mode & kPermissions)};
  return {};
}

SystemError copyLink(Item original, const struct stat& status, Item copy) {
  std::string target;
  if (const auto error = readLink(original, target)) return error;
  if (const auto error = errorOf(::symlinkat(target.c_str(), copy.descriptor, copy.name))) return error;
  return copyMetadata(original, status, copy);
}

SystemError copyFIFO(Item original, const struct stat& status, Item copy) {
  if (const auto error = errorOf(::mkfifoat(copy.descriptor, copy.name, kPrivateFile))) return error;
  port::removeInheritedACLs(copy);
  return copyMetadata(original, status, copy);
}

}  // namespace

SystemError openFile(Item item, FileDescriptor& file, struct stat& status) {
  // If something else has taken the file's place, opening it must not block, and it must not be taken for the file.
  constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
  file = FileDescriptor(uninterrupted([&] { return ::openat(item.descriptor, item.name, kFlags); }));
  if (!file.isOpen()) return lastError();
  if (const auto error = errorOf(::fstat(file.get(), &status))) return error;
  return S_ISREG(status.st_mode) ? SystemError() : SystemError(ESTALE);
}

SystemError copyFile(int file, const struct stat& status, Item copy, Surroundings surroundings, CopyState& state) {
  // Most files of a copy need no call for their owner, group and mode. In a folder that only we can enter, they can be
  // made with their final mode at once. The first file there shows what the umask takes away.
  const bool isOwn = surroundings == Surroundings::own && state.isTrusted;
  const bool isFirst = isOwn && !state.newFile;
  const bool isBare = isOwn && !isFirst && needsNoChange(status, *state.newFile) && !port::hasExtendedAttributes(file);
  const mode_t mode = isFirst ? kPermissions : isBare ? status.st_mode & kPermissions : kPrivateFile;

  FileDescriptor made;
  if (const auto error = port::copyContents(file, status, copy, mode, state.means, made)) return error;
  if (isFirst) {
    if (const auto error = learnFrom(made.get(), state)) return error;
  }
  if (surroundings == Surroundings::shared) port::removeInheritedACLs({made.get()});
  // The umask may have taken away the owner's permissions that setting attributes needs.
  if (!isBare) ::fchmod(made.get(), kPrivateFile);

  if (const auto error = isBare ? copyTimes(status, {made.get()}) : copyMetadata({file}, status, {made.get()})) {
    return error;
  }
  return state.isTrusted ? SystemError() : port::waitUntilAtDrive(made.get());
}

SystemError copySpecial(Item original, const struct stat& status, Item copy) {
  if (S_ISLNK(status.st_mode)) return copyLink(original, status, copy);
  if (S_ISFIFO(status.st_mode)) return copyFIFO(original, status, copy);
  return SystemError(ENOTSUP);
}

SystemError makePrivateFolder(Item item, Surroundings surroundings, FileDescriptor& folder) {
  if (const auto error = errorOf(::mkdirat(item.descriptor, item.name, S_IRWXU))) return error;
  if (const auto error = openOwnFolder(item, folder)) {
    ::unlinkat(item.descriptor, item.name, AT_REMOVEDIR);
    return error;
  }
  // From here on, nothing made inside inherits anything.
  if (surroundings == Surroundings::shared) port::removeInheritedACLs({folder.get()});
  ::fchmod(folder.get(), S_IRWXU);
  return {};
}

}  // namespace zk
