#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "objects/NSDictionary.h"
#include "objects/NSURL.h"

namespace zk {

class NSFileManager;

/// The bytes under which the operating system's file calls know `text`; none for an absent one.
std::string fileSystemRepresentation(const Ref<NSString>& text);

/// What the operating system has to say about a status of its interfaces: static text, or null where it knows nothing
/// of the status.
const char* GetMacOSStatusCommentString(std::int32_t status);

/// A handle to a named semaphore; ZKSEM_FAILED where there is none.
using SemaphoreHandle = void*;
extern const SemaphoreHandle ZKSEM_FAILED;

/// Flags of sem_open, in the macOS numbering.
inline constexpr int ZKO_CREAT = 0x200;
inline constexpr int ZKO_EXCL = 0x800;

/// Results of the process manager's calls.
using OSStatusCode = std::int32_t;
inline constexpr OSStatusCode noErr = 0;
inline constexpr OSStatusCode procNotFound = -600;

/// How the process manager names a process.
struct ProcessSerialNumber {
  std::int32_t pid = 0;
};

/// What GetProcessInformation tells. `processInfoLength` is set by the caller to the record's own size.
struct ProcessInfoRec {
  std::uint32_t processInfoLength = 0;
  std::uint32_t processLaunchDate = 0;  ///< launch stamp: the same for a process's whole life, another for a later
                                        ///< process with the same id; no unit is promised
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
/// Present when the bundle is no lasting fact of the process: its executable was replaced on disk, or the bundle was
/// told from its arguments. The bundle then does not identify the process.
inline constexpr NSStringConstant ZKBundleMayChangeKey = "ZKBundleMayChange"_constant;

/// What the operating system does for the rest of this code: the one seam between the two, and the one place where a
/// test puts something else. Each operation is a call of the platform under the platform's name; retries that the
/// platform itself would not make, and decisions are its callers'. A failed sem_ call leaves its number in errno (see
/// system/ErrorNumbers.h).
class System {
 public:
  System() = default;
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  virtual ~System() = default;

  /// The operating system itself, unless a Scope is open.
  static System& current();

  /// Puts `system` in the place of the current one for as long as the scope is open. For tests.
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
  virtual SemaphoreHandle sem_open(const char* name, int flags, std::uint16_t mode, std::size_t value) = 0;
  virtual int sem_close(SemaphoreHandle semaphore) = 0;
  virtual int sem_wait(SemaphoreHandle semaphore) = 0;
  virtual int sem_trywait(SemaphoreHandle semaphore) = 0;
  virtual int sem_post(SemaphoreHandle semaphore) = 0;
  virtual int sem_unlink(const char* name) = 0;

  // Processes.

  /// The id of the calling process.
  virtual std::int32_t getpid() = 0;
  /// noErr and the process's serial number when a process with this id exists, procNotFound when there is none, any
  /// other value when that could not be found out.
  virtual OSStatusCode GetProcessForPID(std::int32_t pid, ProcessSerialNumber& process) = 0;
  /// What is known of the process under the keys above, or absent.
  virtual Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& process,
                                                             std::uint32_t mask) = 0;
  /// Fills in the record; non-zero when that could not be done.
  virtual OSStatusCode GetProcessInformation(const ProcessSerialNumber& process, ProcessInfoRec& info) = 0;
  /// Blocks the calling thread for `seconds`; not at all when they are negative or no number.
  virtual void sleepForTimeInterval(double seconds) = 0;
  /// Starts the application in the folder `bundle` with `arguments`, as a new session detached from this process.
  /// @param executable the path of the bundle's own program
  /// @param options those of NSWorkspace, for systems that have a use for them
  /// @return whether it was started: a file that cannot be executed gives false and leaves no process behind
  virtual bool launch(const Ref<NSURL>& bundle, const std::string& executable,
                      const std::vector<std::string>& arguments, unsigned long options) = 0;

  // What this process was given, and where it tells.

  /// The arguments that this process was started with, its own name first.
  virtual std::vector<std::string> arguments() = 0;
  /// Writes one line to the log. Never fails, blocks or ends the process.
  virtual void log(const std::string& message) = 0;

  // Files.

  /// A new file manager, or absent. From here on the process is not ended by a signal that asks for its end.
  virtual Ref<NSFileManager> makeFileManager() = 0;
};

}  // namespace zk
