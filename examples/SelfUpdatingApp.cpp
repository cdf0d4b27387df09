// A small application that updates itself through the installer. What a real one would know by itself it takes from its
// environment, which the installer passes on to the new version:
//
//   EXAMPLE_JOURNAL    the file it writes its diary to; a restarted application has no terminal
//   EXAMPLE_INSTALLER  the installer's executable
//   EXAMPLE_UPDATE     the folder that holds a new copy of its bundle
//
// The README shows the part between the two marks.

#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "ZKUpdateOutcome.h"

// [host]
#include <iostream>
#include <string>

#include "ZKUpdateStart.h"  // of the CMake target zk::host

/// Starts the installer. True: it is ready, quit now. False: go on with the old version.
bool startUpdate(const std::string& installer, const std::string& updateFolder) {
  const auto start = zk::ZKUpdateStart::startInstaller(installer, updateFolder);
  if (!start->isReady()) std::cerr << start->reason() << '\n' << start->logLine() << std::endl;
  return start->isReady();
}
// [/host]

namespace {

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

}  // namespace

int main(int argumentCount, char** arguments) {
  tell("started with " + std::to_string(argumentCount - 1) + " arguments");
  for (int index = 1; index < argumentCount; ++index) {
    tell("argument " + std::to_string(index) + ": " + arguments[index]);
  }

  const auto outcome = zk::ZKUpdateOutcome::outcomeOfUpdate(argumentCount, arguments, environment("EXAMPLE_UPDATE"));
  if (outcome->followsUpdate()) {
    // A real application would accept() the update once it works, which removes the backup, or else putBack() the old
    // version.
    tell(outcome->wasInstalled() ? "follows an update from version " + outcome->fromVersion()
                                 : "follows an update that was not installed");
    tell("ends");
    return 0;
  }

  tell("starts the installer");
  if (!startUpdate(environment("EXAMPLE_INSTALLER"), environment("EXAMPLE_UPDATE"))) {
    tell("the installer did not come up; goes on as it is");
    return 1;
  }
  tell("the installer is ready; quits");
  return 0;
}
