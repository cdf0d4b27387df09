#pragma once

#include "system/FileDescriptor.h"
#include "system/SystemError.h"

namespace zk {

struct ItemPath;

/// Waits for a copy to be on the disk. Where the file system can be trusted with that, one call at the end waits for
/// all of it, and the disk is free to work in its own order until then. Elsewhere each item has to be waited for.
class Durability {
 public:
  /// To be called with the new top folder of a copy, before anything is put into it: an error that happens later is
  /// this copy's.
  /// @return whether nobody need wait for a single item
  bool beginWithFolder(int folder);

  /// Waits until the copy `top`, which lies in the open folder `outermost`, is on the disk.
  SystemError waitForCopy(int outermost, const ItemPath& top) const;

 private:
  FileDescriptor folder_;  ///< the top folder, where one call waits for everything
};

}  // namespace zk
