// A small application that updates itself through the installer. It finds what a real one would know of itself in its
// environment, which the installer hands on to the new version:
//
//   EXAMPLE_JOURNAL    the file it writes its diary to; a restarted application has no terminal
//   EXAMPLE_INSTALLER  the installer's executable
//   EXAMPLE_UPDATE     the folder that holds a new copy of its bundle
//   EXAMPLE_SEMAPHORES what the names of the two semaphores begin with

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>

#include "ZKPOSIXSemaphore.h"

namespace {

constexpr std::string_view kAutoUpdateKey = "-com.quillory.tavoro.update.AutoUpdateEnabled";

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void tell(const std::string& line) {
  const std::string text =
      "version " + std::to_string(EXAMPLE_VERSION) + " [" + std::to_string(::getpid()) + "]: " + line;
  std::cout << text << std::endl;
  std::ofstream(environment("EXAMPLE_JOURNAL"), std::ios::app) << text << std::endl;
}

/// Whether this start is not to update by itself: the installer asks for that when it starts the application again.
bool isAutoUpdateOff(int argumentCount, char** arguments) {
  for (int index = 1; index + 1 < argumentCount; ++index) {
    if (arguments[index] == kAutoUpdateKey && std::string_view(arguments[index + 1]) == "NO") return true;
  }
  return false;
}

bool startInstaller(const std::string& installerSemaphore, const std::string& updateSemaphore) {
  const std::string pid = std::to_string(::getpid());
  const std::string installer = environment("EXAMPLE_INSTALLER");
  const std::string update = environment("EXAMPLE_UPDATE");
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl(installer.c_str(), installer.c_str(), "-pid", pid.c_str(), "-updatePath", update.c_str(),
            "-installerSemaphore", installerSemaphore.c_str(), "-updateSemaphore", updateSemaphore.c_str(),
            "-enableLog", "YES", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  return child > 0;
}

/// Waits, at most ten seconds, until the installer has taken its semaphore: from then on it waits for this
/// application's end.
bool waitUntilTaken(zk::ZKPOSIXSemaphore& semaphore) {
  for (int attempt = 0; attempt < 200; ++attempt) {
    zk::Ref<zk::NSError> error;
    if (!semaphore.tryWait(&error)) return zk::ZKPOSIXSemaphore::isBusyError(error);
    semaphore.post();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::string installerName = environment("EXAMPLE_SEMAPHORES") + "-installer";
  const std::string updateName = environment("EXAMPLE_SEMAPHORES") + "-update";

  tell("started with " + std::to_string(argumentCount - 1) + " arguments");
  for (int index = 1; index < argumentCount; ++index) {
    tell("argument " + std::to_string(index) + ": " + arguments[index]);
  }

  if (isAutoUpdateOff(argumentCount, arguments)) {
    // The update is over; nobody needs the names any more.
    zk::ZKPOSIXSemaphore::unlinkName(zk::NSString::stringWithBytes(installerName));
    zk::ZKPOSIXSemaphore::unlinkName(zk::NSString::stringWithBytes(updateName));
    tell("ends");
    return 0;
  }

  const auto semaphore =
      zk::ZKPOSIXSemaphore::createWithName(zk::NSString::stringWithBytes(installerName), false, 0666, 1);
  if (!semaphore || !startInstaller(installerName, updateName)) {
    tell("cannot start the installer");
    return 1;
  }
  tell("started the installer");
  if (!waitUntilTaken(*semaphore)) {
    tell("the installer did not come up; goes on as it is");
    return 1;
  }
  tell("the installer is ready; quits");
  return 0;
}
