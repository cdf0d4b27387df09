#pragma once

#include <string>
#include <vector>

#include "files/NSFileManager.h"
#include "system/System.h"

namespace zk::test {

/// A system that forwards every call to the one that was current when it was made. A test derives from it and overrides
/// what it scripts. It is in effect while a System::Scope on it is open.
class ForwardingSystem : public System {
 public:
  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override {
    return next_.sem_open(name, flags, mode, value);
  }
  int sem_close(SemaphoreHandle semaphore) override { return next_.sem_close(semaphore); }
  int sem_wait(SemaphoreHandle semaphore) override { return next_.sem_wait(semaphore); }
  int sem_trywait(SemaphoreHandle semaphore) override { return next_.sem_trywait(semaphore); }
  int sem_post(SemaphoreHandle semaphore) override { return next_.sem_post(semaphore); }
  int sem_unlink(const char* name) override { return next_.sem_unlink(name); }

  std::int32_t getpid() override { return next_.getpid(); }
  OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override {
    return next_.GetProcessForPID(pid, process);
  }
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process, std::uint32_t mask) override {
    return next_.ProcessInformationCopyDictionary(process, mask);
  }
  OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) override {
    return next_.GetProcessInformation(process, info);
  }
  void sleepForTimeInterval(double seconds) override { next_.sleepForTimeInterval(seconds); }
  bool launch(const Ref<NSURL>& bundle, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long options) override {
    return next_.launch(bundle, executable, arguments, options);
  }
  Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) override {
    return next_.launchTask(executable, arguments);
  }

  std::vector<std::string> arguments() override { return next_.arguments(); }
  void log(const std::string& message) override { next_.log(message); }
  Ref<NSFileManager> makeFileManager() override { return next_.makeFileManager(); }

 protected:
  System& next() { return next_; }

 private:
  System& next_ = System::current();
};

}  // namespace zk::test
