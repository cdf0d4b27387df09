#pragma once

namespace zk {

class NSThread {
 public:
  NSThread() = delete;
  /// Blocks the calling thread for `seconds`. Returns at once if that is negative or not a number.
  static void sleepForTimeInterval(double seconds);
};

}  // namespace zk
