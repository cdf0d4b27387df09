#pragma once

#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {
class System;
}

/// What the folder of an operating system must define: this list and nothing else. All other sources use only what
/// POSIX has had since 2008, and MSG_DONTWAIT. A new system gets a folder beside linux/, named after CMake's name for
/// it in lower case, and starts as a copy of tests/port/StandIn.cpp, which defines this list with stand-ins, and a
/// CMakeLists.txt.
///
/// Unless a function says otherwise, nothing here throws anything but std::bad_alloc, blocks, or changes the process's
/// state. All of it may be called from any thread.
namespace zk::port {

// The system object.

/// The one object behind System::current(). Its class derives from POSIXSystem (process/POSIXSystem.h) and defines the
/// three operations of System that POSIXSystem leaves open: ProcessInformationCopyDictionary, launch and launchTask.
/// The object is never destroyed, so it can be used before main() and after it.
System& operatingSystem();

// Numbers and texts.

/// The number that macOS has for an error number of this system; see macOSErrorNumber() in system/ErrorNumbers.h.
int macOSErrorNumber(int systemErrorNumber);

/// The system's own text for a status of its interfaces, in static storage; null if it has none. A system without such
/// texts may always return null.
const char* statusComment(std::int32_t status);

/// The bytes that the system's file calls expect for a UTF-8 text.
std::string fileSystemRepresentation(std::string_view text);

/// The languages that the user wants to read, the most wanted first, as the system spells them: with or without a
/// region and an encoding.
std::vector<std::string> userLanguages();

// Any process.

enum class Existence { exists, gone, unknown };

/// Whether a process with this id exists now. A zombie does not. A process does if its first thread has ended but
/// others have not. The id of a thread is not a process's, and 0 and negative ids name nothing. Hidden processes and
/// other users' count like any other. The answer is `unknown` only if a resource such as descriptors has run out, or
/// the system does not answer.
Existence existenceOf(std::int32_t pid);

/// A number that stays the same for a process's whole life and that no other process of the same boot with the same id
/// has; nothing if it cannot be found out. It depends on no clock that can be set.
std::optional<std::uint32_t> launchStampOf(std::int32_t pid);

// This process.

/// The path of the running program's file; empty when it cannot be found out.
std::string programPath();

/// The system's number for the calling thread, for log lines.
long currentThreadId();

/// Fills `room` with bytes that nobody can guess.
SystemError fillWithRandomBytes(void* room, std::size_t size);

/// The highest signal number.
int highestSignalNumber();

/// Discards those of `signals` that are pending for the calling thread or the process. All of them must be blocked.
void takeBackPending(const sigset_t& signals);

/// Waits for a semaphore as sem_wait() does, but for at most `nanoseconds`.
/// @param semaphore an open handle, as sem_open() gave it
/// @return 0 when it was taken, otherwise -1 with errno set: ETIMEDOUT when the time is up
int waitForSemaphore(void* semaphore, long nanoseconds);

// The log.

/// Opens the file behind standard error once more, for writing that does not block. Standard error itself may be shared
/// with other processes and stays as it is. The result is closed if the file cannot be opened.
FileDescriptor openStandardErrorAnew();

/// Sends one line to the system log: facility "user", severity "notice". Does nothing if there is no log. Never blocks
/// or raises a signal.
/// @param program the name of this program
/// @param message printable text
void writeToSystemLog(const std::string& program, const std::string& message);

// Files.

/// Flags for openat() that open a folder only to look up names in it, which needs only search permission.
int flagsToSearch();

/// The times in a status, to the nanosecond.
timespec accessTime(const struct stat& status);
timespec modificationTime(const struct stat& status);

/// Reads all entries of a newly opened folder except "." and "..", in any order.
SystemError readEntries(int folder, std::vector<Entry>& entries);

/// What one copy has learned about its two file systems, so that it does not try again for every file what they refuse,
/// and the room that it reads into.
struct CopyMeans {
  bool mayShareBlocks = true;
  bool mayCopyInKernel = true;
  std::unique_ptr<char[]> buffer;  ///< absent until it is needed
};

/// Creates the file `copy` with the contents of an open file; fails if `copy` exists. Blocks are shared if the file
/// system can do that, and holes stay holes. If the source changes meanwhile, what was read is copied.
/// @param source an open file, positioned at its beginning; the position may change
/// @param status the status of `source`
/// @param mode the permissions of the new file, less the umask
/// @param means what this copy has learned so far; updated
/// @param made receives the new file, open for reading or writing
SystemError copyContents(int source, const struct stat& status, Item copy, mode_t mode, CopyMeans& means,
                         FileDescriptor& made);

/// Whether an open file has extended attributes or ACLs, or may have them. True is always safe.
bool hasExtendedAttributes(int file);

/// Gives `copy` the extended attributes and ACLs of `original`, except those that the process may not read or set and
/// those that the file system does not support.
SystemError copyExtendedAttributes(Item original, Item copy);

/// Removes the ACLs that a new item has inherited from its folder. Does nothing if there are none.
void removeInheritedACLs(Item item);

/// Gives `copy` those of `original`'s properties that may forbid every later change, such as flags; called after
/// everything else was set. What the process may not read or set is left out.
/// @param status the status of `original`
SystemError copyLocks(Item original, const struct stat& status, Item copy);

/// Takes from an item what may forbid its owner to change or remove it, such as copyLocks() sets.
/// @return whether there was something and it is gone now; errno stays as it was
bool liftLocks(Item item);

/// Waits until the data and metadata of an open file or folder have reached the drive, perhaps only its cache. They are
/// safe once waitUntilOnDrive() has returned for any item of the same file system. Succeeds without waiting on a file
/// system that does not support this.
SystemError waitUntilAtDrive(int item);

/// Waits as waitUntilAtDrive() does, and puts a barrier there: the drive stores nothing that is written to the same
/// file system later before what was written until now.
SystemError waitForBarrier(int item);

/// Waits until the data and metadata of an open file or folder are on the drive, not only in its cache. Succeeds
/// without waiting on a file system that does not support this.
SystemError waitUntilOnDrive(int item);

/// Whether the file system of an open folder is one that is known
/// - to give new items the owner, the group and the mode that POSIX describes, and to keep what is set on them;
/// - to have everything on the drive after syncFileSystem(), or to report an error. False is always safe, but slower.
bool isTrusted(int folder);

/// Waits until everything that was written to the file system of an open folder is on the drive.
/// @return an error that happened since the folder was opened, perhaps to another file
SystemError syncFileSystem(int folder);

}  // namespace zk::port
