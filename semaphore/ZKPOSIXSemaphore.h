#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include "objects/NSDictionary.h"
#include "objects/NSError.h"
#include "objects/NSURL.h"
#include "system/System.h"

namespace zk {

/// Owns at most one handle to a named POSIX semaphore, which unrelated processes open by the same name.
///
/// Where an operation can fail it takes an optional place for an error. The place is written only when the operation
/// fails, with an error in NSPOSIXErrorDomain whose failure reason says what the number means for that call. Without a
/// place no error is made.
///
/// An object is used from one thread at a time. Its destruction closes the handle; it neither posts nor removes the
/// name.
class ZKPOSIXSemaphore final : public NSObject {
 public:
  /// `openWithName:error:`: a semaphore that exists, for temporary use; absent on failure.
  static Ref<ZKPOSIXSemaphore> openWithName(const Ref<NSString>& name, Ref<NSError>* error = nullptr);

  /// `createWithName:failIfExist:mode:value:error:`: a semaphore, made when it is missing, for temporary use; absent on
  /// failure. One that exists keeps its count, or with `failIfExist` is a failure.
  /// @param mode permission bits of a new semaphore, e.g. 0666
  /// @param value count of a new semaphore
  static Ref<ZKPOSIXSemaphore> createWithName(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                              std::size_t value, Ref<NSError>* error = nullptr);

  /// `unlinkName:error:`: removes the name from the system; whoever has the semaphore open keeps it.
  /// @param error never written, not even on failure
  static bool unlinkName(const Ref<NSString>& name, Ref<NSError>* error = nullptr);

  /// `isBusyError:`: whether `error` (may be absent) is the one that tryWait() reports for a taken semaphore.
  static bool isBusyError(const Ref<NSError>& error);

  /// `init`: an object with no semaphore open.
  static Ref<ZKPOSIXSemaphore> init();
  /// `initWithOpen:error:`: openWithName(), owned by the caller alone.
  static Ref<ZKPOSIXSemaphore> initWithOpen(const Ref<NSString>& name, Ref<NSError>* error = nullptr);
  /// `initWithCreate:failIfExist:mode:value:error:`: createWithName(), owned by the caller alone.
  static Ref<ZKPOSIXSemaphore> initWithCreate(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                              std::size_t value, Ref<NSError>* error = nullptr);
  ~ZKPOSIXSemaphore() override;

  /// `openWithName:flags:mode:value:error:`: opens a semaphore in place of the one that is open, which is closed first
  /// and stays closed when this fails.
  /// @param flags 0, or ZKO_CREAT with or without ZKO_EXCL; `mode` and `value` matter only with ZKO_CREAT
  bool openWithName(const Ref<NSString>& name, int flags, std::uint16_t mode, std::size_t value,
                    Ref<NSError>* error = nullptr);

  /// Gives the semaphore back once.
  bool post();
  /// `wait:`: blocks until the semaphore is taken. A signal that is caught meanwhile is a failure (EINTR).
  bool wait(Ref<NSError>* error = nullptr);
  /// `tryWait:`: takes the semaphore if that is possible at once; a taken one is a failure (the busy error).
  bool tryWait(Ref<NSError>* error = nullptr);
  /// `unlink:`: removes this semaphore's name from the system; the handle stays usable.
  /// @param error never written, not even on failure
  bool unlink(Ref<NSError>* error = nullptr);
  /// The name given to the latest attempt to open, also when that failed; absent before the first.
  const Ref<NSString>& name() const { return name_; }

  // What a failed call means, by its error number (macOS numbering), in the language of the main bundle's translations;
  // absent where there is nothing to say beyond the number's own description. errno stays as it was.

  /// `semaphoreOpenErrorReason:opennedWithCreate:`, of sem_open with or without ZKO_CREAT.
  static Ref<NSString> semaphoreOpenErrorReason(long number, bool opennedWithCreate);
  /// `semaphoreWaitErrorReason:`, of sem_wait and sem_trywait.
  static Ref<NSString> semaphoreWaitErrorReason(long number);
  /// `semaphoreUnlinkErrorReason:`, of sem_unlink.
  static Ref<NSString> semaphoreUnlinkErrorReason(long number);

  // ProcessInfo: a wait that outlives a holder which died without posting. The holder describes itself in a small
  // hidden file, ".<name>.semaphore", inside a folder that all parties know. The object must be open.

  /// Called in place of a pause with the number of pauses so far, this one included, and their length in seconds; false
  /// ends the wait.
  using WaitBlock = std::function<bool(std::size_t attempt, double interval)>;
  static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

  /// `waitWithProcessInfo:maxAttempts:testInterval:error:waitBlock:`: takes the semaphore, trying again after a pause
  /// for as long as it is taken. A holder whose record shows that it is gone has the semaphore taken over from it at
  /// once; one that never left a record, once the pauses are used up, even if it lives. Leaves this process's own
  /// record on success, where it can be written.
  /// @param directory the folder of the process-info file; when absent no record is found, written or deleted
  /// @param maxAttempts how many pauses are made at most; kNoLimit for any number
  /// @param testInterval length of a pause, in seconds
  /// @param error the busy error when the holder still lives and the pauses are used up, and also when a semaphore that
  ///        is to be taken over cannot be removed; ECANCELED when the wait block ended the wait; else the error of the
  ///        call that failed
  /// @param waitBlock when empty, the pauses are slept
  bool waitWithProcessInfo(const Ref<NSURL>& directory, std::size_t maxAttempts, double testInterval,
                           Ref<NSError>* error = nullptr, const WaitBlock& waitBlock = nullptr);

  /// `postWithProcessInfo:`: deletes the process-info file, then gives the semaphore back.
  /// @return whether both worked: false also when there was no file to delete, though the semaphore was given back
  bool postWithProcessInfo(const Ref<NSURL>& directory);

  // ProcessInfoPrivate: process-info records and files. A record is a dictionary with the keys below.

  static constexpr NSStringConstant pidKey = "pid"_constant;                        ///< integer: always there
  static constexpr NSStringConstant executablePathKey = "executablePath"_constant;  ///< text
  static constexpr NSStringConstant bundleIdKey = "bundleId"_constant;              ///< text
  /// Date: stays the same for a process's whole life.
  static constexpr NSStringConstant creationDateKey = "creationDate"_constant;

  /// `processInfoForPID:`: a fresh record of the process, with as much as is known; absent when there is none.
  static Ref<NSDictionary> processInfoForPID(std::int32_t pid);
  /// A fresh record of the calling process.
  static Ref<NSDictionary> currentProcessInfo();
  /// `isProcessInfoValid:`: whether the process that a record (may be absent) describes is still running.
  static bool isProcessInfoValid(const Ref<NSDictionary>& processInfo);

  // These take the folder, not the file.

  /// `processInfoURLAtDirectory:`: where the file lies; absent without a directory or a name.
  Ref<NSURL> processInfoURLAtDirectory(const Ref<NSURL>& directory) const;
  /// `writeProcessInfoAtURL:`: writes the calling process's record, replacing the file as a whole.
  bool writeProcessInfoAtURL(const Ref<NSURL>& directory) const;
  /// `removeProcessInfoAtURL:`: deletes the file; false when there is none.
  bool removeProcessInfoAtURL(const Ref<NSURL>& directory) const;
  /// `processInfoAtURL:`: the property list in the file, whatever it holds; absent when there is none.
  Ref<NSObject> processInfoAtURL(const Ref<NSURL>& directory) const;

 private:
  ZKPOSIXSemaphore() = default;

  bool takeOver(const Ref<NSURL>& directory, Ref<NSError>* error);

  SemaphoreHandle semaphore_ = ZKSEM_FAILED;
  Ref<NSString> name_;
};

}  // namespace zk
