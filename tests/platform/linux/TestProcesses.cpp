#include "TestProcesses.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "linux/ProcFile.h"

namespace zk::test {

namespace {

[[noreturn]] void waitForEver() {
  while (true) ::pause();
}

bool isZombie(const std::string& procFolder) {
  const std::optional<std::string> stat = readProcFile(procFolder + "/stat");
  return stat && statField(*stat, kStatState) == "Z";
}

}  // namespace

std::unique_ptr<ChildProcess> makeWaitingProcess() {
  return std::make_unique<ChildProcess>([](const ChildProcess::TellReady& tellReady) {
    tellReady();
    waitForEver();
  });
}

std::unique_ptr<ChildProcess> makeZombie() {
  auto child = std::make_unique<ChildProcess>([](const ChildProcess::TellReady&) { ::_exit(0); });
  child->waitUntilZombie();
  return child;
}

std::unique_ptr<ChildProcess> makeProcessWithoutFirstThread() {
  auto child = std::make_unique<ChildProcess>([](const ChildProcess::TellReady& tellReady) {
    std::thread(waitForEver).detach();
    tellReady();
    ::syscall(SYS_exit, 0);  // ends only the calling thread
  });
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!isZombie(procFolder(child->pid()))) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("the first thread does not end");
    std::this_thread::yield();
  }
  return child;
}

int idOfEndedProcess() {
  ChildProcess child([] {});
  child.wait();
  return child.pid();
}

int idOfOtherThread(int pid) {
  for (const auto& item : std::filesystem::directory_iterator(procFolder(pid) + "/task")) {
    const int id = std::stoi(item.path().filename());
    if (id != pid) return id;
  }
  return 0;
}

}  // namespace zk::test
