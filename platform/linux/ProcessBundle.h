#pragma once

#include <cstdint>

#include "files/NSBundle.h"
#include "linux/ProcessFacts.h"

namespace zk {

/// The bundle that a process runs from.
struct ProcessBundle {
  Ref<NSBundle> bundle;      ///< absent when it runs from none
  bool isToldFromArguments;  ///< the process is an interpreter, and its arguments name the bundle's program
};

/// The nearest bundle above the executable. Of an interpreter or a loader outside any bundle, the bundle of the script
/// or program that it runs, when that is a bundle's own main executable.
ProcessBundle bundleOfProcess(std::int32_t pid, const Executable& executable);

}  // namespace zk
