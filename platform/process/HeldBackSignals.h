#pragma once

namespace zk {

/// Decides when SIGINT, SIGTERM and SIGQUIT may end the process. They may while it holds nothing; from the first thing
/// that it takes, they are held back until it exits. Until begin() is called, nothing here has any effect: a host's
/// signals are its own.
class HeldBackSignals {
 public:
  HeldBackSignals() = delete;

  /// From now on this process holds signals back when it has to. For now all signals are let through.
  static void begin();

  /// Whether they may end the process now: begin() was called, and the process holds nothing.
  static bool mayEndProcess();

  /// Holds them back until the process exits.
  static void holdBack();

  /// A scope that holds them back during an attempt to take something, so that no signal comes between its success and
  /// holdBack(). At its end they are let through again, unless holdBack() was called.
  class Attempt {
   public:
    Attempt();
    ~Attempt();
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
  };
};

}  // namespace zk
