#pragma once

#include "system/FileDescriptor.h"
#include "system/Item.h"

namespace zk::darwin {

/// An item on an open descriptor, for the calls that take no folder and name. A link itself is opened, not what it leads
/// to. A FIFO is not opened, since that would let those go on who wait for its reader.
class OpenItem {
 public:
  explicit OpenItem(Item item);

  bool isOpen() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }

 private:
  FileDescriptor own_;
  int descriptor_;
};

}  // namespace zk::darwin
