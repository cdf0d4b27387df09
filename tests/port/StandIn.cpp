// An operating system that can do nothing: a stand-in for each thing that system/Port.h lists. That it links shows that
// the list is complete.

#include <cerrno>

#include "process/POSIXSystem.h"
#include "system/Port.h"

namespace zk {

namespace {

class StandInSystem final : public POSIXSystem {
 public:
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& /*process*/,
                                                     std::uint32_t /*mask*/) override {
    return nullptr;
  }
  bool launch(const Ref<NSURL>& /*bundle*/, const std::string& /*executable*/,
              const std::vector<std::string>& /*arguments*/, unsigned long /*options*/) override {
    return false;
  }
  Ref<NSTask> launchTask(const std::string& /*executable*/, const std::vector<std::string>& /*arguments*/) override {
    return nullptr;
  }
};

}  // namespace

namespace port {

System& operatingSystem() {
  static StandInSystem& system = *new StandInSystem;
  return system;
}

int macOSErrorNumber(int systemErrorNumber) { return systemErrorNumber; }
const char* statusComment(std::int32_t /*status*/) { return nullptr; }
std::string fileSystemRepresentation(std::string_view text) { return std::string(text); }
std::vector<std::string> userLanguages() { return {}; }

Existence existenceOf(std::int32_t /*pid*/) { return Existence::gone; }
std::optional<std::uint32_t> launchStampOf(std::int32_t /*pid*/) { return std::nullopt; }

std::string programPath() { return ""; }
long currentThreadId() { return 0; }
SystemError fillWithRandomBytes(void* /*room*/, std::size_t /*size*/) { return SystemError(ENOSYS); }
int highestSignalNumber() { return SIGUSR2; }
void takeBackPending(const sigset_t& /*signals*/) {}
int waitForSemaphore(void* /*semaphore*/, long /*nanoseconds*/) { return -1; }

FileDescriptor openStandardErrorAnew() { return FileDescriptor(); }
void writeToSystemLog(const std::string& /*program*/, const std::string& /*message*/) {}

int flagsToSearch() { return 0; }
timespec accessTime(const struct stat& /*status*/) { return {}; }
timespec modificationTime(const struct stat& /*status*/) { return {}; }
SystemError readEntries(int /*folder*/, std::vector<Entry>& /*entries*/) { return SystemError(ENOSYS); }
SystemError copyContents(int /*source*/, const struct stat& /*status*/, Item /*copy*/, mode_t /*mode*/,
                         CopyMeans& /*means*/, FileDescriptor& /*made*/) {
  return SystemError(ENOSYS);
}
bool hasExtendedAttributes(int /*file*/) { return true; }
SystemError copyExtendedAttributes(Item /*original*/, Item /*copy*/) { return {}; }
void removeInheritedACLs(Item /*item*/) {}
SystemError copyLocks(Item /*original*/, const struct stat& /*status*/, Item /*copy*/) { return {}; }
bool liftLocks(Item /*item*/) { return false; }
SystemError waitUntilAtDrive(int /*item*/) { return {}; }
SystemError waitForBarrier(int /*item*/) { return {}; }
SystemError waitUntilOnDrive(int /*item*/) { return {}; }
bool isTrusted(int /*folder*/) { return false; }
SystemError syncFileSystem(int /*folder*/) { return SystemError(ENOSYS); }

}  // namespace port

}  // namespace zk
