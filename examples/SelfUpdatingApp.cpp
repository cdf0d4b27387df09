// A small application that updates itself through the installer. What a real one would know by itself it takes from its
// environment, which the installer passes on to the new version:
//
//   EXAMPLE_JOURNAL    the file it writes its diary to; a restarted application has no terminal
//   EXAMPLE_INSTALLER  the installer's executable
//   EXAMPLE_UPDATE     the folder that holds a new copy of its bundle
//   EXAMPLE_SEMAPHORES what the names of the two semaphores begin with
//
// The README shows the part between the two marks.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string_view>

// [host]
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "ZKPOSIXSemaphore.h"  // of the CMake target zk::semaphore

/// Whether somebody takes the semaphore within ten seconds.
bool waitUntilTaken(zk::ZKPOSIXSemaphore& semaphore) {
  for (int check = 0; check < 200; ++check) {
    zk::Ref<zk::NSError> error;
    if (!semaphore.tryWait(&error)) return zk::ZKPOSIXSemaphore::isBusyError(error);
    semaphore.post();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

/// Starts the installer. True: it is ready, quit now. False: it did not come up, go on with the old version.
/// @param lock the name of the update semaphore, always the same
bool startUpdate(const std::string& installer, const std::string& updateFolder, const std::string& lock) {
  // The installer semaphore gets a new name each time: an old one that a killed installer left taken would look ready.
  const std::string pid = std::to_string(::getpid());
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  const std::string name = lock + "-" + pid + "-" + std::to_string(now);
  const auto semaphore = zk::ZKPOSIXSemaphore::createWithName(zk::NSString::stringWithBytes(name), true, 0666, 1);
  if (!semaphore) return false;

  const pid_t child = ::fork();
  if (child == 0) {
    ::execl(installer.c_str(), installer.c_str(), "-pid", pid.c_str(), "-updatePath", updateFolder.c_str(),
            "-installerSemaphore", name.c_str(), "-updateSemaphore", lock.c_str(), "-enableLog", "YES",
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  const bool isReady = child > 0 && waitUntilTaken(*semaphore);
  if (child > 0 && !isReady) {
    ::kill(child, SIGKILL);  // does no harm: the installer changes nothing while this process runs
    ::waitpid(child, nullptr, 0);
  }
  semaphore->unlink();
  return isReady;
}
// [/host]

namespace {

constexpr std::string_view kAutoUpdateKey = "-com.quillory.tavoro.update.AutoUpdateEnabled";

std::string environment(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment.
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void tell(const std::string& line) {
  const std::string text =
      "version " + std::to_string(EXAMPLE_VERSION) + " [" + std::to_string(::getpid()) + "]: " + line;
  std::cout << text << std::endl;
  std::ofstream(environment("EXAMPLE_JOURNAL"), std::ios::app) << text << std::endl;
}

/// Whether this start should not look for updates: the installer asks for that when it starts the application again.
bool isAutoUpdateOff(int argumentCount, char** arguments) {
  for (int index = 1; index + 1 < argumentCount; ++index) {
    if (arguments[index] == kAutoUpdateKey && std::string_view(arguments[index + 1]) == "NO") return true;
  }
  return false;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  tell("started with " + std::to_string(argumentCount - 1) + " arguments");
  for (int index = 1; index < argumentCount; ++index) {
    tell("argument " + std::to_string(index) + ": " + arguments[index]);
  }

  if (isAutoUpdateOff(argumentCount, arguments)) {
    tell("ends");
    return 0;
  }

  tell("starts the installer");
  if (!startUpdate(environment("EXAMPLE_INSTALLER"), environment("EXAMPLE_UPDATE"),
                   environment("EXAMPLE_SEMAPHORES") + "-update")) {
    tell("the installer did not come up; goes on as it is");
    return 1;
  }
  tell("the installer is ready; quits");
  return 0;
}
