#pragma once

#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "objects/NSString.h"
#include "support/System.h"

namespace zk::test {

/// A semaphore name that no other test uses. It is removed from the system when the object ends.
class SemaphoreName {
 public:
  SemaphoreName() {
    static std::atomic<int> count = 0;
    name_ = "zk-test-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
  }
  ~SemaphoreName() { ::sem_unlink(name_.c_str()); }
  SemaphoreName(const SemaphoreName&) = delete;
  SemaphoreName& operator=(const SemaphoreName&) = delete;

  const std::string& bytes() const { return name_; }
  Ref<NSString> text() const { return NSString::stringWithBytes(name_); }

  /// Whether a semaphore of this name exists.
  bool exists() const {
    sem_t* semaphore = ::sem_open(name_.c_str(), 0);
    if (semaphore != SEM_FAILED) ::sem_close(semaphore);
    return semaphore != SEM_FAILED;
  }

  /// The count of the semaphore of this name, seen from outside; -1 if there is none.
  int count() const { return semaphoreCount(name_.c_str()); }

 private:
  std::string name_;
};

}  // namespace zk::test
