#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "objects/NSDictionary.h"
#include "objects/NSURL.h"
#include "system/SemaphoreHandle.h"

namespace zk {

class NSFileManager;
class NSTask;

/// The bytes that the operating system's file calls expect for `text`; none if it is absent.
std::string fileSystemRepresentation(const Ref<NSString>& text);

/// The operating system's own text for a status of its interfaces, in static storage; null if it has none.
const char* GetMacOSStatusCommentString(std::int32_t status);

/// Results of the process manager's calls.
using OSStatusCode = std::int32_t;
inline constexpr OSStatusCode noErr = 0;
inline constexpr OSStatusCode procNotFound = -600;

/// How the process manager names a process.
struct ProcessSerialNumber {
  std::int32_t pid = 0;
};

/// What GetProcessInformation fills in. The caller sets `processInfoLength` to the record's own size.
struct ProcessInfoRec {
  std::uint32_t processInfoLength = 0;
  std::uint32_t processLaunchDate = 0;  ///< launch stamp: stays the same for a process's whole life, and differs for a
                                        ///< later process with the same id; its unit is not defined
};

/// Asks ProcessInformationCopyDictionary for every kind of information.
inline constexpr std::uint32_t kProcessDictionaryIncludeAllInformationMask = 0xFFFFFFFF;

// Keys of the process manager's information dictionary.

/// Text: the bundle that the process runs from.
inline constexpr NSStringConstant ZKBundlePathKey = "BundlePath"_constant;
/// Text: that bundle's identifier.
inline constexpr NSStringConstant kCFBundleIdentifierKey = "CFBundleIdentifier"_constant;
/// Text: path of the process's executable.
inline constexpr NSStringConstant kCFBundleExecutableKey = "CFBundleExecutable"_constant;
/// Present if the bundle may change while the process runs, and so does not identify it: the executable was replaced on
/// disk, or the bundle was found through the arguments.
inline constexpr NSStringConstant ZKBundleMayChangeKey = "ZKBundleMayChange"_constant;

/// What the operating system does for the rest of this code, and the one place where a test puts a stand-in. What
/// differs between operating systems lies below it, behind system/Port.h. Each operation is a platform call under the
/// platform's name. Decisions, and retries that the platform itself would not make, are left to the callers. A failed
/// sem_ call sets errno (see system/ErrorNumbers.h).
class System {
 public:
  System() = default;
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  virtual ~System() = default;

  /// The operating system itself, unless a Scope is open.
  static System& current();

  /// Makes `system` the current one while the scope is open. For tests.
  class Scope {
   public:
    explicit Scope(System& system);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    System* previous_;
  };

  // Named semaphores: 0 on success, -1 on failure. A closed handle (ZKSEM_FAILED) fails with EINVAL.

  /// Opens an existing semaphore (flags without ZKO_CREAT), or with ZKO_CREAT creates it when it is missing, with
  /// `mode` less the umask and `value` as its count. ZKSEM_FAILED on failure.
  virtual SemaphoreHandle sem_open(const char* name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value) = 0;
  virtual int sem_close(SemaphoreHandle semaphore) = 0;
  virtual int sem_wait(SemaphoreHandle semaphore) = 0;
  virtual int sem_trywait(SemaphoreHandle semaphore) = 0;
  virtual int sem_post(SemaphoreHandle semaphore) = 0;
  virtual int sem_unlink(const char* name) = 0;

  // Processes.

  /// The id of the calling process.
  virtual std::int32_t getpid() = 0;
  /// Returns noErr and the process's serial number if a process with this id exists, procNotFound if there is none, and
  /// any other value if the look-up itself failed.
  virtual OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) = 0;
  /// What is known about the process, under the keys above; absent if the process is gone.
  virtual Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process,
                                                             std::uint32_t mask) = 0;
  /// Fills in the record. Returns a value other than noErr on failure.
  virtual OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) = 0;
  /// Blocks the calling thread for `seconds`. Returns at once if that is negative or not a number.
  virtual void sleepForTimeInterval(double seconds) = 0;
  /// Starts the application in the folder `bundle` with `arguments`, in a new session detached from this process.
  /// @param executable the path of the bundle's own program
  /// @param options the options of NSWorkspace, for systems that use them
  /// @return whether it was started; if the file cannot be executed, no process is left behind
  virtual bool launch(const Ref<NSURL>& bundle, const std::string& executable,
                      const std::vector<std::string>& arguments, unsigned long options) = 0;
  /// Starts the program `executable` with `arguments` as launch() does, but as a child process whose exit status
  /// this one collects, and with its standard error on a pipe that this one reads.
  /// @return absent when it cannot be executed; no process is left behind then
  virtual Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) = 0;

  // Arguments and log.

  /// The arguments that this process was started with, its own name first.
  virtual std::vector<std::string> arguments() = 0;
  /// Writes one line to the log. Never fails, blocks or ends the process.
  virtual void log(const std::string& message) = 0;

  // Files.

  /// A new file manager; absent if there is no memory for one. From then on SIGINT, SIGTERM and SIGQUIT no longer end
  /// the process (see process/ProcessStart.h).
  virtual Ref<NSFileManager> makeFileManager() = 0;
};

}  // namespace zk
