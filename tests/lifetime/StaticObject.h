#pragma once

#include "ZKPOSIXSemaphore.h"
#include "ZKVersion.h"

namespace zk::test {

/// An object for static storage. It uses the libraries when it is made and again when it is destroyed, and keeps some
/// of their objects in between. Each time it prints its name and the occasion. If something does not work, it ends the
/// process with status 1.
class StaticObject {
 public:
  explicit StaticObject(const char* name);
  ~StaticObject();
  StaticObject(const StaticObject&) = delete;
  StaticObject& operator=(const StaticObject&) = delete;

 private:
  const char* name_;
  Ref<ZKVersion> version_;
  Ref<NSError> error_;
  Ref<ZKPOSIXSemaphore> semaphore_;
};

}  // namespace zk::test
