#include "ZKPOSIXSemaphore.h"
#include "files/NSBundle.h"
#include "system/ErrorNumbers.h"

namespace zk {

namespace {

/// An English text in the language of the main bundle's translations, in which the text is its own key.
Ref<NSString> localized(const char* text) {
  return NSBundle::mainBundle()->localizedStringForKey(NSString::stringWithUTF8String(text), ""_ns, nullptr);
}

/// The two tables that have this reason use the same text.
constexpr const char* kNameTooLong = "Name exceeded SEM_NAME_LEN characters.";

const char* openReason(long number, bool opennedWithCreate) {
  switch (number) {
    case ZKENOENT:
      return opennedWithCreate ? nullptr : "Named semaphore does not exist.";
    case ZKEINTR:
      return "The operation was interrupted by a signal.";
    case ZKEACCES:
      return opennedWithCreate
                 ? "The object does not exist, and permission to create the semaphore is denied."
                 : "The required permissions (for reading and/or writing) are denied for the given flags.";
    case ZKEEXIST:
      return opennedWithCreate ? "Semaphore exists." : nullptr;
    case ZKEINVAL:
      return opennedWithCreate ? "Value exceeds SEM_VALUE_MAX." : "The sem_open() operation is not supported.";
    case ZKENFILE:
      return "Too many semaphores or file descriptors are open on the system.";
    case ZKEMFILE:
      return "The process has already reached its limit for semaphores or file descriptors in use.";
    case ZKENOSPC:
      return opennedWithCreate
                 ? "File does not exist, and there is insufficient space available to create the semaphore."
                 : nullptr;
    case ZKENAMETOOLONG:
      return kNameTooLong;
    default:
      return nullptr;
  }
}

const char* waitReason(long number) {
  switch (number) {
    case ZKEINTR:
      return "The call was interrupted by a signal.";
    case ZKEDEADLK:
      return "A deadlock was detected.";
    case ZKEINVAL:
      return "Not a valid semaphore descriptor.";
    case ZKEAGAIN:
      return "The semaphore is already locked.";
    default:
      return nullptr;
  }
}

const char* unlinkReason(long number) {
  switch (number) {
    case ZKENOENT:
      return "The named semaphore does not exist.";
    case ZKEACCES:
      return "Permission is denied to remove the semaphore.";
    case ZKENAMETOOLONG:
      return kNameTooLong;
    default:
      return nullptr;
  }
}

Ref<NSString> localizedIfAny(const char* reason) { return reason == nullptr ? nullptr : localized(reason); }

}  // namespace

Ref<NSString> ZKPOSIXSemaphore::semaphoreOpenErrorReason(long number, bool opennedWithCreate) {
  return localizedIfAny(openReason(number, opennedWithCreate));
}

Ref<NSString> ZKPOSIXSemaphore::semaphoreWaitErrorReason(long number) { return localizedIfAny(waitReason(number)); }

Ref<NSString> ZKPOSIXSemaphore::semaphoreUnlinkErrorReason(long number) { return localizedIfAny(unlinkReason(number)); }

}  // namespace zk
