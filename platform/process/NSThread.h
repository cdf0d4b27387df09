#pragma once

namespace zk {

class NSThread {
 public:
  NSThread() = delete;
  /// Blocks the calling thread for `seconds`; not at all when they are negative or no number.
  static void sleepForTimeInterval(double seconds);
};

}  // namespace zk
