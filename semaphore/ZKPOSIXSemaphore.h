#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include "objects/NSDictionary.h"
#include "objects/NSError.h"
#include "objects/NSURL.h"
#include "system/SemaphoreHandle.h"

namespace zk {

/// Owns at most one handle to a named POSIX semaphore, which unrelated processes open by the same name. A name without
/// a slash and of at most 30 bytes works on every system.
///
/// An operation that can fail takes an optional place for an error. It is written only if the operation fails, with an
/// error in NSPOSIXErrorDomain whose failure reason says what the number means for that call. Without a place no error
/// is made.
///
/// An object must be used from one thread at a time. Its destructor closes the handle, but neither posts nor removes
/// the name.
class ZKPOSIXSemaphore final : public NSObject {
 public:
  /// `openWithName:error:`: opens an existing semaphore, for temporary use; absent on failure.
  static Ref<ZKPOSIXSemaphore> openWithName(const Ref<NSString>& name, Ref<NSError>* error = nullptr);

  /// `createWithName:failIfExist:mode:value:error:`: opens a semaphore, for temporary use, and creates it if it is
  /// missing; absent on failure.
  /// @param name of the semaphore
  /// @param failIfExist whether it is a failure if the semaphore exists; else that one is opened, and keeps its count
  /// @param mode permission bits of a new semaphore, e.g. 0666, from which the umask is taken away
  /// @param value count of a new semaphore
  /// @param error optional place for an error
  static Ref<ZKPOSIXSemaphore> createWithName(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                              std::size_t value, Ref<NSError>* error = nullptr);

  /// `unlinkName:error:`: removes the name from the system. Whoever has the semaphore open keeps it.
  /// @param name of the semaphore
  /// @param error never written, not even on failure
  /// @return whether there was such a name and it could be removed
  static bool unlinkName(const Ref<NSString>& name, Ref<NSError>* error = nullptr);

  /// `isBusyError:`: whether `error` (may be absent) is what tryWait() reports for a taken semaphore.
  static bool isBusyError(const Ref<NSError>& error);

  /// `init`: an object without an open semaphore.
  static Ref<ZKPOSIXSemaphore> init();
  /// `initWithOpen:error:`: openWithName(), owned by the caller alone.
  static Ref<ZKPOSIXSemaphore> initWithOpen(const Ref<NSString>& name, Ref<NSError>* error = nullptr);
  /// `initWithCreate:failIfExist:mode:value:error:`: createWithName(), owned by the caller alone.
  static Ref<ZKPOSIXSemaphore> initWithCreate(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                              std::size_t value, Ref<NSError>* error = nullptr);
  ~ZKPOSIXSemaphore() override;

  /// `openWithName:flags:mode:value:error:`: opens a semaphore in place of the one that is open. That one is closed
  /// first, and stays closed if this fails.
  /// @param name of the semaphore
  /// @param flags SemaphoreFlags::none, or ZKO_CREAT with or without ZKO_EXCL
  /// @param mode with ZKO_CREAT, permission bits of a new semaphore, from which the umask is taken away
  /// @param value with ZKO_CREAT, count of a new semaphore
  /// @param error optional place for an error
  /// @return whether the semaphore is open
  bool openWithName(const Ref<NSString>& name, SemaphoreFlags flags, std::uint16_t mode, std::size_t value,
                    Ref<NSError>* error = nullptr);

  /// Posts the semaphore once. False if it is not open, or its count is the largest possible.
  bool post();
  /// `wait:`: blocks until it has taken the semaphore. Fails with EINTR if a signal is caught meanwhile.
  bool wait(Ref<NSError>* error = nullptr);
  /// `tryWait:`: takes the semaphore if that is possible at once. Fails with the busy error if it is taken.
  bool tryWait(Ref<NSError>* error = nullptr);
  /// `unlink:`: removes this semaphore's name from the system; the handle stays usable.
  /// @param error never written, not even on failure
  /// @return whether there was such a name and it could be removed
  bool unlink(Ref<NSError>* error = nullptr);
  /// The name in the latest attempt to open, even if that failed; absent before the first.
  const Ref<NSString>& name() const { return name_; }

  // What the error number of a failed call means for that call. For any thread.

  /// `semaphoreOpenErrorReason:opennedWithCreate:`: what `number` (macOS numbering) means after a failed sem_open, with
  /// or without ZKO_CREAT, in the language of the main bundle's translations. Absent if that is no more than the
  /// number's own description. errno stays as it was.
  static Ref<NSString> semaphoreOpenErrorReason(long number, bool opennedWithCreate);
  /// `semaphoreWaitErrorReason:`: the same after a failed sem_wait or sem_trywait.
  static Ref<NSString> semaphoreWaitErrorReason(long number);
  /// `semaphoreUnlinkErrorReason:`: the same after a failed sem_unlink.
  static Ref<NSString> semaphoreUnlinkErrorReason(long number);

  // ProcessInfo: a wait that does not hang if the holder has died without posting. The holder describes itself in a
  // small hidden file, ".<name>.semaphore", in a folder that all parties know.

  /// Called instead of a pause, with the number of pauses so far, including this one, and their length in seconds.
  /// Returns false to end the wait.
  using WaitBlock = std::function<bool(std::size_t attempt, double interval)>;
  /// A number of pauses that is never reached.
  static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

  /// `waitWithProcessInfo:maxAttempts:testInterval:error:waitBlock:`: takes the semaphore, trying again after a pause
  /// as long as it is taken. If the holder's record shows that it is gone, the semaphore is taken over at once. If
  /// there is no record, it is taken over after the last pause, even if the holder is alive. On success it also writes
  /// this process's own record; it is not an error if that fails. The object must be open, or this fails with EINVAL.
  /// @param directory the folder of the process-info file; if absent, no record is found, written or deleted
  /// @param maxAttempts the largest number of pauses; kNoLimit for no limit
  /// @param testInterval length of a pause, in seconds
  /// @param error the busy error if the holder is still alive after the last pause, or if a semaphore that should be
  /// taken over cannot be removed; ECANCELED if the wait block ended the wait; else the error of the call that failed
  /// @param waitBlock called on this thread in place of each pause; if empty, the thread sleeps
  /// @return whether this process holds the semaphore now
  bool waitWithProcessInfo(const Ref<NSURL>& directory, std::size_t maxAttempts, double testInterval,
                           Ref<NSError>* error = nullptr, const WaitBlock& waitBlock = nullptr);

  /// `postWithProcessInfo:`: deletes the process-info file in the folder `directory`, then posts the semaphore.
  /// @return whether both worked; false also if there was no file to delete, though the semaphore was posted
  bool postWithProcessInfo(const Ref<NSURL>& directory);

  // ProcessInfoPrivate: process-info records and files. A record is a dictionary with the keys below.

  static constexpr NSStringConstant pidKey = "pid"_constant;                        ///< integer: always present
  static constexpr NSStringConstant executablePathKey = "executablePath"_constant;  ///< text
  static constexpr NSStringConstant bundleIdKey = "bundleId"_constant;              ///< text
  static constexpr NSStringConstant creationDateKey = "creationDate"_constant;      ///< date that never changes

  /// `processInfoForPID:`: a new record of the process, with as much as is known; absent if there is no such process.
  static Ref<NSDictionary> processInfoForPID(std::int32_t pid);
  /// A new record of the calling process.
  static Ref<NSDictionary> currentProcessInfo();
  /// `isProcessInfoValid:`: whether the process that a record (may be absent) describes is still running.
  static bool isProcessInfoValid(const Ref<NSDictionary>& processInfo);

  // These take the URL of the folder, not of the file.

  /// `processInfoURLAtDirectory:`: the file's URL; absent without a directory or a name.
  Ref<NSURL> processInfoURLAtDirectory(const Ref<NSURL>& directory) const;
  /// `writeProcessInfoAtURL:`: writes the calling process's record, replacing the file as a whole. False if that is not
  /// possible.
  bool writeProcessInfoAtURL(const Ref<NSURL>& directory) const;
  /// `removeProcessInfoAtURL:`: deletes the file; false if there is none.
  bool removeProcessInfoAtURL(const Ref<NSURL>& directory) const;
  /// `processInfoAtURL:`: the property list in the file, whatever it holds; absent if there is none.
  Ref<NSObject> processInfoAtURL(const Ref<NSURL>& directory) const;

 private:
  ZKPOSIXSemaphore() = default;

  bool takeOver(const Ref<NSURL>& directory, Ref<NSError>* error);

  SemaphoreHandle semaphore_ = ZKSEM_FAILED;
  Ref<NSString> name_;
};

}  // namespace zk
