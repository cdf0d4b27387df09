#include "ZKPOSIXSemaphore.h"

#include "NSErrorPOSIX.h"
#include "objects/NSAutoreleasePool.h"
#include "system/ErrorNumbers.h"
#include "system/System.h"

namespace zk {

namespace {

/// Whether a wait succeeded. Explains a failure if there is a place for the error.
bool waitResult(int result, Ref<NSError>* error) {
  if (result == 0) return true;
  if (error != nullptr) {
    const Ref<NSString> reason = ZKPOSIXSemaphore::semaphoreWaitErrorReason(errorNumber());
    *error = POSIX::errorWithPOSIXCode(errorNumber(), reason);
  }
  return false;
}

}  // namespace

Ref<ZKPOSIXSemaphore> ZKPOSIXSemaphore::init() { return Ref<ZKPOSIXSemaphore>(new ZKPOSIXSemaphore); }

Ref<ZKPOSIXSemaphore> ZKPOSIXSemaphore::initWithOpen(const Ref<NSString>& name, Ref<NSError>* error) {
  const Ref<ZKPOSIXSemaphore> semaphore = init();
  return semaphore->openWithName(name, SemaphoreFlags::none, 0, 0, error) ? semaphore : nullptr;
}

Ref<ZKPOSIXSemaphore> ZKPOSIXSemaphore::initWithCreate(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                                       std::size_t value, Ref<NSError>* error) {
  const Ref<ZKPOSIXSemaphore> semaphore = init();
  const SemaphoreFlags flags = failIfExist ? ZKO_CREAT | ZKO_EXCL : ZKO_CREAT;
  return semaphore->openWithName(name, flags, mode, value, error) ? semaphore : nullptr;
}

Ref<ZKPOSIXSemaphore> ZKPOSIXSemaphore::openWithName(const Ref<NSString>& name, Ref<NSError>* error) {
  return autorelease(initWithOpen(name, error));
}

Ref<ZKPOSIXSemaphore> ZKPOSIXSemaphore::createWithName(const Ref<NSString>& name, bool failIfExist, std::uint16_t mode,
                                                       std::size_t value, Ref<NSError>* error) {
  return autorelease(initWithCreate(name, failIfExist, mode, value, error));
}

ZKPOSIXSemaphore::~ZKPOSIXSemaphore() {
  if (semaphore_ != ZKSEM_FAILED) System::current().sem_close(semaphore_);
  semaphore_ = ZKSEM_FAILED;
  name_ = nullptr;
}

bool ZKPOSIXSemaphore::openWithName(const Ref<NSString>& name, SemaphoreFlags flags, std::uint16_t mode,
                                    std::size_t value, Ref<NSError>* error) {
  if (semaphore_ != ZKSEM_FAILED) System::current().sem_close(semaphore_);
  semaphore_ = ZKSEM_FAILED;

  name_ = name;
  const std::string systemName = fileSystemRepresentation(name_);
  semaphore_ = System::current().sem_open(systemName.c_str(), flags, mode, value);
  if (semaphore_ != ZKSEM_FAILED) return true;

  if (error != nullptr) {
    const Ref<NSString> reason = semaphoreOpenErrorReason(errorNumber(), contains(flags, ZKO_CREAT));
    *error = POSIX::errorWithPOSIXCode(errorNumber(), reason);
  }
  return false;
}

bool ZKPOSIXSemaphore::wait(Ref<NSError>* error) { return waitResult(System::current().sem_wait(semaphore_), error); }

bool ZKPOSIXSemaphore::tryWait(Ref<NSError>* error) {
  return waitResult(System::current().sem_trywait(semaphore_), error);
}

bool ZKPOSIXSemaphore::post() { return System::current().sem_post(semaphore_) == 0; }

bool ZKPOSIXSemaphore::isBusyError(const Ref<NSError>& error) {
  return error && error->code() == ZKEAGAIN && areEqual(error->domain(), NSPOSIXErrorDomain);
}

bool ZKPOSIXSemaphore::unlinkName(const Ref<NSString>& name, Ref<NSError>* /*error*/) {
  // Plain UTF-8, deliberately not the file-system representation that opening uses. The two differ on some systems.
  return System::current().sem_unlink(name ? name->UTF8String() : "") == 0;
}

bool ZKPOSIXSemaphore::unlink(Ref<NSError>* error) { return unlinkName(name_, error); }

}  // namespace zk
