#include "NSErrorPOSIX.h"
#include "ZKPOSIXSemaphore.h"
#include "objects/NSNumber.h"
#include "objects/OutOfMemory.h"
#include "process/NSThread.h"
#include "system/ErrorNumbers.h"

namespace zk {

namespace {

constexpr std::uint16_t kSharedMode = 0666;

/// The record in a process-info file. Absent if what was read is not a dictionary, or if its process id is not an
/// integer: garbage does not show that a holder is gone. A dictionary without a process id is a record, but not of a
/// living process.
Ref<NSDictionary> recordIn(const Ref<NSObject>& propertyList) {
  const Ref<NSDictionary> record = asDictionary(propertyList);
  if (!record) return nullptr;
  const Ref<NSObject> pid = record->objectForKey(ZKPOSIXSemaphore::pidKey);
  if (!pid) return record;
  const Ref<NSNumber> number = asNumber(pid);
  return number && number->isInteger() ? record : nullptr;
}

}  // namespace

bool ZKPOSIXSemaphore::waitWithProcessInfo(const Ref<NSURL>& directory, std::size_t maxAttempts, double testInterval,
                                           Ref<NSError>* error, const WaitBlock& waitBlock) {
  Ref<NSError> lastError;
  const auto fail = [error](const Ref<NSError>& reason) {
    if (error != nullptr) *error = reason;
    return false;
  };

  std::size_t attempt = 0;
  while (!tryWait(&lastError)) {
    if (!isBusyError(lastError)) return fail(lastError);

    const Ref<NSDictionary> record = recordIn(processInfoAtURL(directory));
    const bool isHolderGone = record && !isProcessInfoValid(record);
    const bool mayPause = maxAttempts == kNoLimit || attempt < maxAttempts;
    if (!isHolderGone && mayPause) {
      ++attempt;
      if (!waitBlock) {
        NSThread::sleepForTimeInterval(testInterval);
      } else if (!waitBlock(attempt, testInterval)) {
        return fail(POSIX::errorWithPOSIXCode(ZKECANCELED, nullptr));
      }
    } else if (record && !isHolderGone) {
      return fail(lastError);
    } else if (!takeOver(directory, &lastError)) {
      return fail(lastError);
    }
    // After a take-over the next try comes at once, and is not counted as an attempt. If others take the new semaphore
    // first and leave no record, it is taken over again, without a pause.
  }

  // We hold the semaphore now; a record that cannot be written must not hide that.
  unlessOutOfMemory([&] { return writeProcessInfoAtURL(directory); });
  return true;
}

/// Replaces the semaphore of a holder that is gone with a new one. Processes that have the old one open keep it.
///
/// If two processes find the same holder gone at the same moment, the slower one may take over from the faster one: no
/// lock spans reading the record and removing the name.
bool ZKPOSIXSemaphore::takeOver(const Ref<NSURL>& directory, Ref<NSError>* error) {
  if (!unlink(error)) return false;
  removeProcessInfoAtURL(directory);
  // Not exclusive: a semaphore that another process has created meanwhile is opened as it is, with its count.
  return openWithName(name(), ZKO_CREAT, kSharedMode, 1, error);
}

bool ZKPOSIXSemaphore::postWithProcessInfo(const Ref<NSURL>& directory) {
  // The record goes first: once the semaphore is free, any record is the next holder's.
  const bool isRecordRemoved = unlessOutOfMemory([&] { return removeProcessInfoAtURL(directory); });
  return post() && isRecordRemoved;
}

}  // namespace zk
