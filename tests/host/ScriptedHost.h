#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "ZKUpdateStart.h"
#include "process/NSTask.h"
#include "support/ChildProcess.h"
#include "support/ForwardingSystem.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

/// What the test and the installer that was started know of each other.
struct ScriptedInstaller {
  bool isRunning = true;
  int status = NSTask::kUnknownStatus;
  std::string output;
  bool isKilled = false;
};

/// Writes a bundle with the identifier com.example.x and the program X. @param info further entries, as XML
inline void writeBundle(const std::filesystem::path& bundle, const std::string& info = "",
                        const std::string& identifier = "com.example.x") {
  writeFile(bundle / "Contents/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><string>" + identifier +
                                                "</string><key>CFBundleExecutable</key><string>X</string>" + info +
                                                "</dict></plist>");
  writeScript(bundle / "Contents/MacOS/X", "#!/bin/sh\n");
}

/// An entry of a property list, as XML.
inline std::string entry(const std::string& key, const std::string& value) {
  return "<key>" + key + "</key><string>" + value + "</string>";
}

/// Runs `body` in a child process of a user who may change nothing in `folder`. @return its exit status
inline int statusWithoutAccessTo(const std::filesystem::path& folder, const std::function<void()>& body) {
  namespace fs = std::filesystem;
  const fs::perms before = fs::status(folder).permissions();
  fs::permissions(folder, fs::perms(0555));
  const int status = statusInChild([&body] {
    if (::geteuid() == 0) {
      ASSERT_EQ(::setuid(65534), 0);
    }
    body();
  });
  fs::permissions(folder, before);
  return status;
}

/// A process that runs from a bundle in a folder of the test's, and that starts no program: a scripted installer takes
/// its place. Files and semaphores are real.
class ScriptedHost : public ForwardingSystem {
 public:
  ScriptedHost() { writeBundle(application); }
  ~ScriptedHost() override {
    for (const std::string& name : semaphoreNames) next().sem_unlink(name.c_str());
  }

  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& /*process*/,
                                                     std::uint32_t /*mask*/) override {
    return NSDictionary::dictionaryWithEntries({{ZKBundlePathKey, NSString::stringWithBytes(application.string())}});
  }
  SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) override {
    semaphoreNames.push_back(name);
    openFlags.push_back(flags);
    return onOpen ? onOpen(name) : next().sem_open(name, flags, mode, value);
  }
  Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) override;
  void sleepForTimeInterval(double seconds) override {
    sleeps.push_back(seconds);
    if (onSleep) onSleep();
  }

  /// The application starts an installer, which becomes ready, and which it leaves behind when it quits.
  void startInstaller() {
    onSleep = [this] { ZKPOSIXSemaphore::initWithOpen(NSString::stringWithBytes(semaphoreNames.back()))->tryWait(); };
    const auto start = ZKUpdateStart::startInstaller("/opt/zkupdater", updates.string());
    EXPECT_TRUE(start->isReady()) << start->reason();
  }
  /// What the installer does with the old bundle. @return the backup
  std::filesystem::path backUp(const std::string& digits = "0123456789abcdef") const {
    const std::string name = application.filename().string().substr(0, 237);
    std::filesystem::path backup = application.parent_path() / ("." + name + "-" + digits);
    std::filesystem::copy(application, backup, std::filesystem::copy_options::recursive);
    std::filesystem::last_write_time(backup, std::filesystem::last_write_time(application));
    return backup;
  }
  /// What it does with the new one.
  void swap() const {
    std::filesystem::remove_all(application);
    std::filesystem::copy(updates / "X.app", application, std::filesystem::copy_options::recursive);
    std::filesystem::last_write_time(application, std::filesystem::last_write_time(updates / "X.app"));
  }

  const TemporaryFolder folder;
  std::filesystem::path application = folder / "Applications/X.app";
  std::filesystem::path updates = folder / "Updates";

  std::vector<std::string> semaphoreNames;
  std::vector<SemaphoreFlags> openFlags;
  std::function<SemaphoreHandle(const char*)> onOpen;
  std::vector<double> sleeps;
  std::function<void()> onSleep;
  bool canLaunch = true;
  std::vector<std::vector<std::string>> launched;  ///< for each launch the executable, then the arguments
  ScriptedInstaller installer;
};

class ScriptedTask final : public NSTask {
 public:
  explicit ScriptedTask(ScriptedInstaller& installer) : NSTask(0, FileDescriptor()), installer_(installer) {}
  bool isRunning() override { return installer_.isRunning; }
  int terminationStatus() const override { return installer_.status; }
  std::string availableErrorOutput() override { return installer_.output; }
  void kill() override {
    installer_.isKilled = installer_.isRunning;
    installer_.isRunning = false;
  }

 private:
  ScriptedInstaller& installer_;
};

inline Ref<NSTask> ScriptedHost::launchTask(const std::string& executable, const std::vector<std::string>& arguments) {
  launched.push_back({executable});
  launched.back().insert(launched.back().end(), arguments.begin(), arguments.end());
  return canLaunch ? std::make_shared<ScriptedTask>(installer) : nullptr;
}

}  // namespace zk::test
