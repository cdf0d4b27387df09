#pragma once

#include <cstdint>

#include "files/NSBundle.h"
#include "linux/ProcessFacts.h"

namespace zk {

/// The bundle that a process runs from.
struct ProcessBundle {
  Ref<NSBundle> bundle;  ///< absent if it runs from none
  bool isFromArguments;  ///< the process is an interpreter, and its arguments name the bundle's program
};

/// The nearest bundle above the executable. For an interpreter or a loader outside any bundle, the bundle of the script
/// or program that it runs, if that is the bundle's own main executable.
ProcessBundle bundleOfProcess(std::int32_t pid, const Executable& executable);

}  // namespace zk
