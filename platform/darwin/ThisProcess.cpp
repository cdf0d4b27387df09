#include <mach-o/dyld.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/random.h>

#include <memory>

#include "darwin/MissingCalls.h"
#include "system/Port.h"

namespace zk {

std::string port::programPath() {
  std::uint32_t size = 0;
  ::_NSGetExecutablePath(nullptr, &size);
  std::string path(size, '\0');
  if (::_NSGetExecutablePath(path.data(), &size) != 0) return "";
  const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr), &::free);
  return resolved ? resolved.get() : path.c_str();
}

long port::currentThreadId() {
  std::uint64_t id = 0;
  ::pthread_threadid_np(nullptr, &id);
  return static_cast<long>(id);
}

SystemError port::fillWithRandomBytes(void* room, std::size_t size) { return errorOf(::getentropy(room, size)); }

int port::highestSignalNumber() { return NSIG - 1; }

void port::takeBackPending(const sigset_t& signals) { darwin::discardPending(signals); }

int port::waitForSemaphore(void* semaphore, long nanoseconds) {
  return darwin::waitBriefly(static_cast<sem_t*>(semaphore), nanoseconds);
}

}  // namespace zk
