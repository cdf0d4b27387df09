#pragma once

#include <vector>

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

class NSFileManager;
class NSDirectoryEnumerator;

/// What a file manager asks its delegate while it copies. Not owned by the file manager.
class NSFileManagerDelegate {
 public:
  virtual ~NSFileManagerDelegate() = default;

  /// `fileManager:shouldCopyItemAtURL:toURL:`: asked before each item of a copy, the top item first. False leaves the
  /// item, and everything in it, out of the copy.
  virtual bool fileManager(NSFileManager& fileManager, const Ref<NSURL>& shouldCopyItemAtURL,
                           const Ref<NSURL>& toURL) = 0;

  /// `fileManager:shouldProceedAfterError:copyingItemAtURL:toURL:`: asked when an item could not be copied. False stops
  /// the copy, which then has failed; true goes on with the next item as if nothing had happened.
  virtual bool fileManager(NSFileManager& fileManager, const Ref<NSError>& shouldProceedAfterError,
                           const Ref<NSURL>& copyingItemAtURL, const Ref<NSURL>& toURL) = 0;
};

/// Directory for URLForDirectory: a new temporary folder on the volume of the item that is to be replaced.
inline constexpr unsigned long NSItemReplacementDirectory = 99;
inline constexpr unsigned long NSUserDomainMask = 1;

/// Option of an enumeration: folders are yielded but not entered.
inline constexpr unsigned long NSDirectoryEnumerationSkipsSubdirectoryDescendants = 1;
/// Option of an enumeration: packages are yielded but not entered.
inline constexpr unsigned long NSDirectoryEnumerationSkipsPackageDescendants = 2;

/// Copies, removes and finds items on disk. What can fail takes an optional place for an error. Errors are in
/// NSPOSIXErrorDomain, with codes in the macOS numbering. NSFilePathErrorKey gives the path of the item; for a copy,
/// that of the source. No URL may be absent.
class NSFileManager : public NSObject {
 public:
  NSFileManager() = default;

  /// The process's shared file manager, which has no delegate.
  static Ref<NSFileManager> defaultManager();

  /// A file manager of the caller's own, for temporary use; absent when none can be made.
  static Ref<NSFileManager> fileManager();

  /// Sets the delegate that is asked during every later copy; null for none. It must outlive this object's copies.
  void setDelegate(NSFileManagerDelegate* delegate) { delegate_ = delegate; }

  /// `fileExistsAtPath:isDirectory:`: whether an item exists at `path`, links followed. `isDirectory` is optional, and
  /// written only if the item exists.
  virtual bool fileExistsAtPath(const Ref<NSString>& path, bool* isDirectory = nullptr);

  /// `enumeratorAtURL:includingPropertiesForKeys:options:errorHandler:`: all items below a folder, hidden ones
  /// included. Depth first: a folder comes before its contents, and its entries are sorted by the bytes of their names.
  /// Links, and folders that cannot be read, are yielded but not entered.
  /// @param includingPropertiesForKeys properties that the caller is going to read; a hint that makes no difference
  /// here.
  /// @param options 0, or one of the options of an enumeration
  /// @param errorHandler must be empty; the enumeration always goes on after an error
  /// @return absent if the folder cannot be read.
  virtual Ref<NSDirectoryEnumerator> enumeratorAtURL(const Ref<NSURL>& url,
                                                     const std::vector<Ref<NSString>>& includingPropertiesForKeys,
                                                     unsigned long options, std::nullptr_t errorHandler = nullptr);

  /// `URLForDirectory:inDomain:appropriateForURL:create:error:`: makes a new, empty folder beside the item at
  /// `appropriateForURL`, hidden, with mode 0700 and an unguessable name. Absent on failure, and for anything but
  /// NSItemReplacementDirectory in NSUserDomainMask with `create`.
  virtual Ref<NSURL> URLForDirectory(unsigned long directory, unsigned long inDomain,
                                     const Ref<NSURL>& appropriateForURL, bool create, Ref<NSError>* error = nullptr);

  /// `copyItemAtURL:toURL:error:`: copies the item at `url`, a folder with everything in it, to `toURL`, and waits
  /// until the copy is on the disk. The delegate is asked before each item. False if an error stopped the copy; what
  /// was written stays.
  virtual bool copyItemAtURL(const Ref<NSURL>& url, const Ref<NSURL>& toURL, Ref<NSError>* error = nullptr);

  /// `removeItemAtURL:error:`: removes the item at `url`: a file, a link (not what it leads to) or a whole tree. A
  /// folder that its owner may not write to is made writable first. False at the first item that cannot be removed, and
  /// if there is nothing at `url`.
  virtual bool removeItemAtURL(const Ref<NSURL>& url, Ref<NSError>* error = nullptr);

 private:
  friend class TreeCopy;
  struct PendingItem;
  class PendingScope;

  NSFileManagerDelegate* delegate_ = nullptr;
  const PendingItem* pendingItem_ = nullptr;  ///< what the delegate is being asked about; null when it is not asked
};

/// A walk over the items below a folder; see NSFileManager::enumeratorAtURL.
class NSDirectoryEnumerator : public NSObject {
 public:
  /// The next item, or absent at the end.
  virtual Ref<NSURL> nextObject() = 0;
};

}  // namespace zk
