#include "updater/ScriptedRun.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <regex>

namespace zk::test {

namespace {

/// The two semaphores of a run: their handles are the addresses of their names.
const std::string kInstaller = "installer";
const std::string kUpdate = "update";

}  // namespace

Ref<NSURL> ScriptedFileManager::URLForDirectory(unsigned long directory, unsigned long inDomain,
                                                const Ref<NSURL>& appropriateForURL, bool create, Ref<NSError>* error) {
  events_.push_back("temporary " + std::to_string(directory) + " " + std::to_string(inDomain) + " " +
                    appropriateForURL->path()->bytes() + (create ? " create" : "") + (error ? " error" : ""));
  return temporaryDirectory;
}

bool ScriptedFileManager::copyItemAtURL(const Ref<NSURL>& url, const Ref<NSURL>& toURL, Ref<NSError>* error) {
  events_.push_back("copy " + url->path()->bytes() + " to " + toURL->path()->bytes() + (error ? " error" : ""));
  return ++copies_ != failingCopy;
}

bool ScriptedFileManager::removeItemAtURL(const Ref<NSURL>& url, Ref<NSError>* /*error*/) {
  events_.push_back("remove " + url->path()->bytes());
  return true;
}

ScriptedRun::ScriptedRun()
    : existence([](int check) { return check == 0 ? noErr : procNotFound; }),
      information(NSDictionary::dictionaryWithEntries(
          {{ZKBundlePathKey, "/volume/A.app"_ns}, {kCFBundleIdentifierKey, "com.example.a"_ns}})),
      fileManager(std::make_shared<ScriptedFileManager>(events)) {}

std::vector<std::string> ScriptedRun::allSettings() {
  return {
      "zkupdater",        "-pid",  "4711",       "-updatePath", "/no-such-folder", "-installerSemaphore", kInstaller,
      "-updateSemaphore", kUpdate, "-enableLog", "YES"};
}

std::string ScriptedRun::withoutPrefix(const std::string& line) {
  static const std::regex prefix(R"(^\[ZKUpdater \(0x[0-9a-f]+\)\] ?)");
  return std::regex_replace(line, prefix, "");
}

std::vector<std::string> ScriptedRun::logLines() const {
  std::vector<std::string> lines;
  for (const std::string& line : rawLog) lines.push_back(withoutPrefix(line));
  return lines;
}

bool ScriptedRun::fails(const std::string& call) {
  events.push_back(call);
  const auto failure = failing.find(call);
  if (failure == failing.end()) return false;
  errno = failure->second;
  return true;
}

std::string ScriptedRun::nameOf(SemaphoreHandle semaphore) { return *static_cast<const std::string*>(semaphore); }

SemaphoreHandle ScriptedRun::sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) {
  EXPECT_EQ(flags, ZKO_CREAT);
  EXPECT_EQ(mode, 0666);
  EXPECT_EQ(value, 1U);
  if (fails(std::string("open ") + name)) return ZKSEM_FAILED;
  return const_cast<std::string*>(name == kInstaller ? &kInstaller : &kUpdate);
}

int ScriptedRun::sem_close(SemaphoreHandle semaphore) { return fails("close " + nameOf(semaphore)) ? -1 : 0; }
int ScriptedRun::sem_wait(SemaphoreHandle semaphore) { return fails("wait " + nameOf(semaphore)) ? -1 : 0; }
int ScriptedRun::sem_trywait(SemaphoreHandle semaphore) { return fails("try " + nameOf(semaphore)) ? -1 : 0; }
int ScriptedRun::sem_post(SemaphoreHandle semaphore) { return fails("post " + nameOf(semaphore)) ? -1 : 0; }
int ScriptedRun::sem_unlink(const char* name) { return fails(std::string("unlink ") + name) ? -1 : 0; }

OSStatusCode ScriptedRun::GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) {
  if (pid == kOwnPid) return procNotFound;
  checkedPids.push_back(pid);
  process.pid = pid;
  return existence(checks++);
}

Ref<NSDictionary> ScriptedRun::ProcessInformationCopyDictionary(const ProcessSerialNumber& process,
                                                                std::uint32_t mask) {
  EXPECT_EQ(process.pid, 4711);
  EXPECT_EQ(mask, 0xFFFFFFFFU);
  return information;
}

OSStatusCode ScriptedRun::GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) {
  EXPECT_EQ(process.pid, 4711);
  info.processLaunchDate = launchStamp;
  return noErr;
}

void ScriptedRun::sleepForTimeInterval(double seconds) { sleeps.push_back(seconds); }

bool ScriptedRun::launch(const Ref<NSURL>& /*bundle*/, const std::string& executable,
                         const std::vector<std::string>& arguments, unsigned long options) {
  events.emplace_back("launch");
  launchOptions = options;
  launched = {executable};
  launched.insert(launched.end(), arguments.begin(), arguments.end());
  return launchSucceeds;
}

Ref<NSFileManager> ScriptedRun::makeFileManager() { return fileManager; }

}  // namespace zk::test
