#include "process/POSIXSystem.h"

#include <fcntl.h>
#include <semaphore.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

#include "files/NSFileManager.h"
#include "objects/NeverDestroyed.h"
#include "objects/OutOfMemory.h"
#include "process/HeldBackSignals.h"
#include "process/LogSink.h"
#include "system/Port.h"

namespace zk {

const SemaphoreHandle ZKSEM_FAILED = SEM_FAILED;

namespace {

/// The look-up itself failed: any status but "no error" and "no such process".
constexpr OSStatusCode kLookUpFailed = -50;

/// The longest delay of a signal that may end the process, in nanoseconds.
constexpr long kSignalLatency = 100'000'000;
constexpr long kNanosecondsPerSecond = 1'000'000'000;

std::vector<std::string>& processArguments() {
  static auto& arguments = neverDestroyed<std::vector<std::string>>();
  return arguments;
}

/// The C library's own handle. Without one the library would crash, so callers fail with EINVAL instead.
sem_t* handleOf(SemaphoreHandle semaphore) {
  if (semaphore == ZKSEM_FAILED) errno = EINVAL;
  return static_cast<sem_t*>(semaphore);
}

}  // namespace

SemaphoreHandle POSIXSystem::sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) {
  if (!contains(flags, ZKO_CREAT)) return ::sem_open(name, 0);
  const int systemFlags = O_CREAT | (contains(flags, ZKO_EXCL) ? O_EXCL : 0);
  // A count that does not fit is above the system's limit anyway.
  const auto count = static_cast<unsigned int>(std::min<std::size_t>(value, std::numeric_limits<unsigned int>::max()));
  return ::sem_open(name, systemFlags, static_cast<mode_t>(mode), count);
}

int POSIXSystem::sem_close(SemaphoreHandle semaphore) {
  sem_t* const handle = handleOf(semaphore);
  return handle == SEM_FAILED ? -1 : ::sem_close(handle);
}

int POSIXSystem::sem_wait(SemaphoreHandle semaphore) {
  sem_t* const handle = handleOf(semaphore);
  if (handle == SEM_FAILED) return -1;
  if (!HeldBackSignals::mayEndProcess()) return ::sem_wait(handle);

  // A signal that ended the process right after it took the semaphore would leave it taken for good. So we wait in
  // slices, with the signals held back, and let them through between two slices.
  while (true) {
    const HeldBackSignals::Attempt attempt;
    const int result = port::waitForSemaphore(handle, kSignalLatency);
    if (result == 0) HeldBackSignals::holdBack();
    if (result == 0 || errno != ETIMEDOUT) return result;
  }
}

int POSIXSystem::sem_trywait(SemaphoreHandle semaphore) {
  sem_t* const handle = handleOf(semaphore);
  if (handle == SEM_FAILED) return -1;
  const HeldBackSignals::Attempt attempt;
  const int result = ::sem_trywait(handle);
  if (result == 0) HeldBackSignals::holdBack();
  return result;
}

int POSIXSystem::sem_post(SemaphoreHandle semaphore) {
  sem_t* const handle = handleOf(semaphore);
  return handle == SEM_FAILED ? -1 : ::sem_post(handle);
}

int POSIXSystem::sem_unlink(const char* name) { return ::sem_unlink(name); }

std::int32_t POSIXSystem::getpid() { return ::getpid(); }

OSStatusCode POSIXSystem::GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) {
  switch (port::existenceOf(pid)) {
    case port::Existence::exists:
      process.pid = pid;
      return noErr;
    case port::Existence::gone:
      return procNotFound;
    case port::Existence::unknown:
      break;
  }
  return kLookUpFailed;
}

OSStatusCode POSIXSystem::GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) {
  const std::optional<std::uint32_t> stamp = port::launchStampOf(process.pid);
  if (!stamp) return kLookUpFailed;
  info.processLaunchDate = *stamp;
  return noErr;
}

void POSIXSystem::sleepForTimeInterval(double seconds) {
  if (!(seconds > 0)) return;
  // Longer than anybody lives, and well within the range of a time.
  constexpr double kLongest = 1e12;
  const double bounded = std::min(seconds, kLongest);
  timespec rest;
  rest.tv_sec = static_cast<time_t>(bounded);
  rest.tv_nsec = static_cast<long>((bounded - std::floor(bounded)) * static_cast<double>(kNanosecondsPerSecond));
  while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

std::vector<std::string> POSIXSystem::arguments() { return processArguments(); }

void setProcessArguments(std::vector<std::string> arguments) { processArguments() = std::move(arguments); }

void POSIXSystem::log(const std::string& message) { writeLogLine(message); }

Ref<NSFileManager> POSIXSystem::makeFileManager() {
  // Whoever asks for one is about to copy and remove with it.
  HeldBackSignals::holdBack();
  return unlessOutOfMemory([] { return std::make_shared<NSFileManager>(); });
}

}  // namespace zk
