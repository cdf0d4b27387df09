#pragma once

#include <string>
#include <vector>

#include "system/System.h"

namespace zk {

/// What every POSIX system does the same way.
class POSIXSystem : public System {
 public:
  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override;
  int sem_close(SemaphoreHandle semaphore) override;
  int sem_wait(SemaphoreHandle semaphore) override;
  int sem_trywait(SemaphoreHandle semaphore) override;
  int sem_post(SemaphoreHandle semaphore) override;
  int sem_unlink(const char* name) override;

  std::int32_t getpid() override;
  OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override;
  OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) override;
  void sleepForTimeInterval(double seconds) override;
  std::vector<std::string> arguments() override;
  void log(const std::string& message) override;
  Ref<NSFileManager> makeFileManager() override;
};

/// Sets what System::arguments() returns.
void setProcessArguments(std::vector<std::string> arguments);

}  // namespace zk
