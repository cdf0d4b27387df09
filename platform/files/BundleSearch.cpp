#include "files/BundleSearch.h"

#include "files/NSBundle.h"
#include "files/NSFileManager.h"
#include "files/ResourceValues.h"

namespace zk {

Ref<NSURL> bundleInFolder(const Ref<NSURL>& folder, const Ref<NSString>& name, const Ref<NSString>& identifier) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();

  if (length(name) > 0) {
    const Ref<NSURL> candidate = folder->URLByAppendingPathComponent(name, true);
    bool isDirectory = false;
    if (candidate && files->fileExistsAtPath(candidate->path(), &isDirectory) && isDirectory) return candidate;
  }

  if (length(identifier) == 0) return nullptr;
  const Ref<NSDirectoryEnumerator> items =
      files->enumeratorAtURL(folder, {NSURLIsPackageKey}, NSDirectoryEnumerationSkipsPackageDescendants);
  if (!items) return nullptr;
  while (const Ref<NSURL> item = items->nextObject()) {
    // It counts that the property can be read, not what it is: an ordinary folder will do as well as a package.
    Ref<NSNumber> isPackage;
    if (!getResourceValue(item, isPackage, NSURLIsPackageKey)) continue;
    const Ref<NSBundle> bundle = NSBundle::bundleWithURL(item);
    if (bundle && areEqual(bundle->bundleIdentifier(), identifier)) return item;
  }
  return nullptr;
}

}  // namespace zk
