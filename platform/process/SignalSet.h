#pragma once

#include <signal.h>

#include <initializer_list>

namespace zk {

/// The set of these signals. The calls are macros on some systems, so they are not qualified.
inline sigset_t signalSet(std::initializer_list<int> numbers) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : numbers) sigaddset(&set, number);
  return set;
}

/// The set of all signals.
inline sigset_t allSignals() {
  sigset_t set;
  sigfillset(&set);
  return set;
}

}  // namespace zk
