#pragma once

namespace zk {

/// SIGINT, SIGTERM and SIGQUIT: they end a process as long as it holds nothing, and are held back from then on, to its
/// end. In a process that has not begun with this nothing here does anything: a host's signals are its own.
class HeldBackSignals {
 public:
  HeldBackSignals() = delete;

  /// From now on this process holds signals back when it has to. It lets all signals through so far.
  static void begin();

  /// Whether they may end the process now: it has begun, and holds nothing.
  static bool mayEndProcess();

  /// Holds them back to the end of the process.
  static void holdBack();

  /// Holds them back while it is open: for an attempt to take something, so that no signal comes between its success
  /// and holdBack(). Afterwards they are let through, unless they are held back by then.
  class Attempt {
   public:
    Attempt();
    ~Attempt();
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
  };
};

}  // namespace zk
