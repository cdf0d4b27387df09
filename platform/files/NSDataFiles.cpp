#include "files/NSDataFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "files/ItemPath.h"
#include "files/RandomName.h"
#include "objects/Path.h"
#include "system/FileDescriptor.h"
#include "system/ReadingAndWriting.h"
#include "system/System.h"

namespace zk {

namespace {

constexpr mode_t kNewFileMode = 0666;

/// Writes to the file at `path` and closes it. Some file systems report a failed write only then.
bool writeFile(const std::string& path, int flags, std::string_view bytes) {
  FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, kNewFileMode));
  return file.isOpen() && !writeAll(file.get(), bytes) && ::close(file.release()) == 0;
}

bool replaceFile(const std::string& path, std::string_view bytes) {
  std::string digits;
  if (makeRandomDigits(digits)) return false;
  // A short name, so that it fits even if the file's own name is as long as names can be.
  const std::string temporary = joinedPath(ItemPath(path).folder, ".zk-" + digits);
  const bool isReplaced = writeFile(temporary, O_EXCL, bytes) && ::rename(temporary.c_str(), path.c_str()) == 0;
  if (!isReplaced) ::unlink(temporary.c_str());
  return isReplaced;
}

}  // namespace

Ref<NSData> dataWithContentsOfURL(const Ref<NSURL>& url, std::size_t mostBytes) {
  if (!url) return nullptr;
  const std::string path = fileSystemRepresentation(url->path());
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  std::string bytes;
  if (readAll(file.get(), bytes, mostBytes)) return nullptr;
  return std::make_shared<NSData>(std::move(bytes));
}

bool writeToURL(const Ref<NSData>& data, const Ref<NSURL>& url, bool atomically) {
  if (!data || !url) return false;
  const std::string path = fileSystemRepresentation(url->path());
  return atomically ? replaceFile(path, data->bytes()) : writeFile(path, O_TRUNC, data->bytes());
}

}  // namespace zk
