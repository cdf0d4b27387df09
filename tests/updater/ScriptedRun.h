#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "files/NSFileManager.h"
#include "support/ForwardingSystem.h"

namespace zk::test {

/// A file manager whose copies and temporary folder a test scripts. What it is asked to do is recorded in `events`.
class ScriptedFileManager : public NSFileManager {
 public:
  explicit ScriptedFileManager(std::vector<std::string>& events) : events_(events) {}

  Ref<NSURL> URLForDirectory(unsigned long directory, unsigned long inDomain, const Ref<NSURL>& appropriateForURL,
                             bool create, Ref<NSError>* error) override;
  bool copyItemAtURL(const Ref<NSURL>& url, const Ref<NSURL>& toURL, Ref<NSError>* error) override;
  bool removeItemAtURL(const Ref<NSURL>& url, Ref<NSError>* error) override;

  Ref<NSURL> temporaryDirectory = NSURL::fileURLWithPath("/volume/.temporary"_ns);
  int failingCopy = 0;  ///< 1 for the first copy, 2 for the second; 0 for none

 private:
  std::vector<std::string>& events_;
  int copies_ = 0;
};

/// A scripted operating system for a run: one process with the id 4711 in /volume/A.app, two free semaphores, and a
/// file manager whose copies succeed. A test changes what it wants to see fail. What the run does is recorded in
/// `events`, what it logs in `rawLog`.
class ScriptedRun : public ForwardingSystem {
 public:
  static constexpr std::int32_t kOwnPid = 4712;

  ScriptedRun();

  /// The settings of a whole run: all five.
  static std::vector<std::string> allSettings();
  /// The category and the message of a log line: "Error: …" or "Begin installation".
  static std::string withoutPrefix(const std::string& line);
  /// The same for every line logged.
  std::vector<std::string> logLines() const;

  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override;
  int sem_close(SemaphoreHandle semaphore) override;
  int sem_wait(SemaphoreHandle semaphore) override;
  int sem_trywait(SemaphoreHandle semaphore) override;
  int sem_post(SemaphoreHandle semaphore) override;
  int sem_unlink(const char* name) override;

  std::int32_t getpid() override { return kOwnPid; }
  OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) override;
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process, std::uint32_t mask) override;
  OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) override;
  void sleepForTimeInterval(double seconds) override;
  bool launch(const Ref<NSURL>& bundle, const std::string& executable, const std::vector<std::string>& arguments,
              unsigned long options) override;
  std::vector<std::string> arguments() override { return settings; }
  void log(const std::string& message) override { rawLog.push_back(message); }
  Ref<NSFileManager> makeFileManager() override;

  std::vector<std::string> settings = allSettings();
  std::vector<std::string> events;
  std::vector<std::string> rawLog;
  std::vector<double> sleeps;

  /// The answer to each look-up of the target's id. Unless a test changes it, the target exists at creation and is gone
  /// afterwards.
  std::function<OSStatusCode(int check)> existence;
  int checks = 0;
  std::vector<std::int32_t> checkedPids;
  Ref<NSDictionary> information;
  std::uint32_t launchStamp = 1;
  std::map<std::string, int> failing;  ///< calls that fail, e.g. {"open update", EACCES}
  bool launchSucceeds = true;
  std::vector<std::string> launched;  ///< executable, then arguments
  unsigned long launchOptions = 0;
  Ref<ScriptedFileManager> fileManager;

 private:
  /// Records a call on a semaphore, and returns whether it should fail.
  bool fails(const std::string& call);
  static std::string nameOf(SemaphoreHandle semaphore);
};

}  // namespace zk::test
