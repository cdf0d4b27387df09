#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "files/Package.h"
#include "objects/NSURL.h"
#include "posix/ItemPath.h"

namespace zk {

Ref<NSURL> NSURL::fileURLWithPath(const Ref<NSString>& path) {
  if (length(path) == 0 || path->bytes().find('\0') != std::string::npos) return nullptr;

  std::string absolute = path->bytes();
  if (absolute.front() != '/') {
    const std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), &std::free);
    if (!current) return nullptr;
    absolute = joinedPath(current.get(), absolute);
  }
  absolute.resize(withoutTrailingSlashes(absolute).size());
  if (absolute.size() > kLongestPath) return nullptr;
  return std::make_shared<NSURL>(std::move(absolute));
}

bool NSURL::getResourceValue(Ref<NSNumber>& value, const Ref<NSString>& forKey) const {
  struct stat item;
  if (!areEqual(forKey, NSURLIsPackageKey) || ::lstat(path_->fileSystemRepresentation().c_str(), &item) != 0)
    return false;
  value = NSNumber::numberWithBool(S_ISDIR(item.st_mode) && isPackageName(lastPathComponent()->bytes()));
  return true;
}

}  // namespace zk
