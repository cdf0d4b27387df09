#pragma once

#include "system/FileDescriptor.h"

namespace zk::test {

/// A pipe whose two ends are closed in programs that this process starts.
struct Pipe {
  /// @throws std::runtime_error if there is none
  Pipe();
  FileDescriptor reading;
  FileDescriptor writing;
};

}  // namespace zk::test
