#pragma once

#include "ZKPOSIXSemaphore.h"
#include "ZKVersion.h"

namespace zk::test {

/// An object for static storage. It uses what the libraries offer when it is made and again when it is destroyed, and
/// keeps some of it in between. Prints its name and the occasion each time; ends the process with status 1 when
/// something does not work.
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
