#pragma once

#include <string>

#include "objects/NSURL.h"

namespace zk {

/// What became of the update that this start of the application follows. Asked for at every start; used from one thread
/// at a time. Nothing is thrown but std::bad_alloc.
class ZKUpdateOutcome final : public NSObject {
 public:
  /// The outcome of the last update that ZKUpdateStart has started from a folder. Never absent.
  /// @param argumentCount, arguments those of this process, its own name first, as main() gets them; they are not kept
  /// @param updateFolder path of that folder; a new version starts in another current folder, "/"
  static Ref<ZKUpdateOutcome> outcomeOfUpdate(int argumentCount, const char* const* arguments,
                                              const std::string& updateFolder);

  /// Whether the installer has started the application, after an update or a failed attempt, by the arguments. Such a
  /// start should not look for updates: one that fails would be tried for ever.
  bool followsUpdate() const { return followsUpdate_; }

  /// Whether the update was installed: the new bundle is complete in its place, and the old one in the backup. By the
  /// date of the bundle's folder, so this is to be asked before anything is written directly into that folder.
  bool wasInstalled() const { return isInPlace_ && hasBackup(); }

  /// Whether the old version is in a finished backup. If it is, and still nothing was installed, the installer was
  /// stopped before the new bundle was complete: putBack() is the way out.
  bool hasBackup() const { return backup_ != nullptr; }

  /// The version in the backup, as its bundle shows it to people; empty when it has none or there is no backup.
  const std::string& fromVersion() const { return fromVersion_; }
  /// Path of the backup, a complete bundle; empty when there is none.
  std::string backupPath() const;

  /// The new version works: removes the backup, then the update folder. False when one of them is still there, when
  /// the backup may be the only complete bundle, which then stays, or when the folder is none that ZKUpdateStart has
  /// started an installer with.
  bool accept();

  /// The new version does not work: puts the old bundle back in its place and removes the new one. The update folder
  /// stays. The application then quits, and whoever starts it again starts the old version.
  /// @return false when there is no backup, or the bundles could not be exchanged: then the new one stays in place
  bool putBack();

 private:
  ZKUpdateOutcome() = default;

  bool followsUpdate_ = false;
  bool isInPlace_ = false;  ///< the new bundle
  std::string fromVersion_;
  Ref<NSURL> place_;  ///< of the application's bundle
  Ref<NSURL> backup_;
  Ref<NSURL> updateFolder_;
};

}  // namespace zk
