#include "files/ResourceValues.h"

#include <sys/stat.h>

#include "files/Package.h"
#include "system/System.h"

namespace zk {

namespace {

std::optional<bool> isFolder(const NSURL& url) {
  if (url.findings() != NSURL::Findings::none) return url.findings() != NSURL::Findings::noFolder;
  struct stat item;
  if (::lstat(fileSystemRepresentation(url.path()).c_str(), &item) != 0) return std::nullopt;
  return S_ISDIR(item.st_mode);
}

}  // namespace

bool getResourceValue(const Ref<NSURL>& url, Ref<NSNumber>& value, const Ref<NSString>& forKey) {
  const std::optional<bool> isItemFolder = url && areEqual(forKey, NSURLIsPackageKey) ? isFolder(*url) : std::nullopt;
  if (!isItemFolder) return false;
  value = NSNumber::numberWithBool(*isItemFolder && isPackageName(url->lastPathComponent()->bytes()));
  return true;
}

}  // namespace zk
