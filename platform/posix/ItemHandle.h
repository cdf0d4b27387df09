#pragma once

namespace zk {

/// An item on disk in the hands of this process: by its own descriptor or, of a kind that is not opened (a link, a
/// FIFO), by the descriptor of its folder and its name there. Nothing that is done with it follows a link. Borrows
/// both.
struct ItemHandle {
  int descriptor;
  const char* name = nullptr;  ///< null: the descriptor is the item's own

  bool isOpen() const { return name == nullptr; }
};

}  // namespace zk
