#pragma once

#include "objects/OutOfMemory.h"
#include "system/System.h"
#include "text/Formatting.h"

namespace zk {

/// Writes one line to the log: `format` filled with `arguments`. Never fails, blocks or ends the process.
template <class... Arguments>
void NSLog(const Ref<NSString>& format, const Arguments&... arguments) {
  unlessOutOfMemory([&] { System::current().log(stringWithFormat(format, arguments...)->bytes()); });
}

}  // namespace zk
