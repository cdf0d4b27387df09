#pragma once

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "system/FileDescriptor.h"
#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {
class System;
}

/// What the folder of an operating system must define: this list and nothing else. All other sources ask only for what
/// POSIX has had since 2008. A folder for a new system starts as a copy of this list.
///
/// Unless a function says otherwise, nothing here throws but std::bad_alloc, blocks, or changes the process's state,
/// and all of it may be called from any thread.
namespace zk::port {

// The system object.

/// The one object behind System::current(), of a class derived from POSIXSystem (process/POSIXSystem.h), which leaves
/// four operations of System open: GetProcessForPID, ProcessInformationCopyDictionary, GetProcessInformation and
/// launch. It can be used before main() and after it: it is never destroyed.
System& operatingSystem();

// Numbers and texts.

/// The number that macOS has for an error number of this system; see macOSErrorNumber() in system/ErrorNumbers.h.
int macOSErrorNumber(int systemErrorNumber);

/// What this system has to say about a status of its interfaces: static text, or null where it has nothing to say. A
/// system without such texts may know none.
const char* statusComment(std::int32_t status);

/// The bytes under which the system's file calls know a text in UTF-8.
std::string fileSystemRepresentation(std::string_view text);

// This process.

/// The path of the running program's file; empty when it cannot be found out.
std::string programPath();

/// The system's number of the calling thread, for log lines.
long currentThreadId();

/// Fills `room` with bytes that nobody can guess.
SystemError fillWithRandomBytes(void* room, std::size_t size);

/// The highest number that a signal has.
int highestSignalNumber();

/// Takes back those of `signals`, all of them blocked, that are pending for the calling thread or the process.
void takeBackPending(const sigset_t& signals);

/// Waits for a semaphore, as sem_wait() does, but only for a time.
/// @param semaphore an open handle, as sem_open() gave it
/// @return 0 when it was taken; otherwise -1 with a number in errno: ETIMEDOUT when the time is over
int waitForSemaphore(void* semaphore, long nanoseconds);

// The log.

/// Opens whatever standard error is open on once more, so that writing to it does not block, without a change to the
/// descriptor that may be shared with other processes; closed when that cannot be had.
FileDescriptor openStandardErrorAnew();

/// Hands one line to the system's log: facility "user", severity "notice". Without effect where there is none; never
/// blocks or raises a signal.
/// @param program the name of this program
/// @param message printable text
void writeToSystemLog(const std::string& program, const std::string& message);

// Files.

/// Flags for openat() that open a folder only to look up names in it, which needs only search permission.
int flagsToSearch();

/// The times in a status, to the nanosecond.
timespec accessTime(const struct stat& status);
timespec modificationTime(const struct stat& status);

/// The type of an entry, as a status tells it (S_IFDIR and so on); 0 where the system does not tell, which may be
/// always.
mode_t typeOf(const struct dirent& entry);

/// What one copy has found out about the two file systems it works between, so that it need not try for every file what
/// they refuse, and the room that it reads into.
struct CopyMeans {
  bool mayShareBlocks = true;
  bool mayCopyInKernel = true;
  std::unique_ptr<char[]> buffer;  ///< absent until it is needed
};

/// Makes the file `copy`, which does not exist yet, with the contents of an open file. Blocks are shared where the file
/// system can, holes stay holes. If the source changes meanwhile, what was read is copied.
/// @param source an open file at its beginning; it may be moved
/// @param status the status of `source`
/// @param mode the permissions of the new file, less those that the process's mask takes away
/// @param means of this copy; kept up to date
/// @param made receives the new file, open for writing
SystemError copyContents(int source, const struct stat& status, Item copy, mode_t mode, CopyMeans& means,
                         FileDescriptor& made);

/// Whether an open file has extended attributes or ACLs, or may have; true is always safe.
bool hasExtendedAttributes(int file);

/// Gives `copy` the extended attributes and ACLs of `original`, but for those that the process may not read or set and
/// those that the file system does not know.
SystemError copyExtendedAttributes(Item original, Item copy);

/// Takes from a new item the ACLs that its folder handed down to it. Without effect where there are none.
void removeInheritedACLs(Item item);

/// Waits until the data and metadata of an open file or folder are on the drive, not only in its cache. A file system
/// that has no way to tell is no failure.
SystemError waitUntilOnDrive(int item);

/// Whether the file system of an open folder is one that is known
/// - to give new items the owner, the group and the mode that POSIX describes, and to keep what is set on them;
/// - to have everything on the drive after syncFileSystem(), or to report an error.
/// False is always safe, and slower.
bool isTrusted(int folder);

/// Waits until everything that was written to the file system of an open folder is on the drive.
/// @return an error that happened since the folder was opened, perhaps to another file
SystemError syncFileSystem(int folder);

}  // namespace zk::port
