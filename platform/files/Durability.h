#pragma once

#include "system/FileDescriptor.h"
#include "system/SystemError.h"

namespace zk {

struct ItemPath;

/// Waits until a copy is on the disk. If the file system can be trusted, one call at the end waits for all of it, and
/// the disk can write in its own order until then. Otherwise each item has to be waited for.
class Durability {
 public:
  /// Call this with the new top folder of a copy before anything is put into it, so that later write errors are
  /// noticed.
  /// @return true if items need not be waited for one by one
  bool beginWithFolder(int folder);

  /// Waits until everything that was put into the top folder, at the path `top`, is on the disk. The folder itself gets
  /// its date and mode only then: they show that the copy is complete, also after a power cut.
  SystemError waitForContents(const ItemPath& top);

  /// Waits until the top item, which lies in the open folder `outermost`, is on the disk, too.
  SystemError waitForTop(int outermost) const;

 private:
  FileDescriptor folder_;                 ///< the top folder; closed if the copy has none
  bool isTrusted_ = false;                ///< whether one call waits for all of it
  bool isWholeFileSystemSynced_ = false;  ///< and so is what lies around the copy
};

}  // namespace zk
