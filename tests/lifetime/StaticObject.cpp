#include "StaticObject.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "NSErrorOSStatus.h"
#include "NSErrorPOSIX.h"
#include "ZKUpdateOutcome.h"
#include "ZKUpdateStart.h"
#include "files/ResourceValues.h"
#include "objects/NSAutoreleasePool.h"
#include "objects/NSNumber.h"
#include "system/ErrorNumbers.h"
#include "system/System.h"
#include "zkupdater.h"

namespace zk::test {

namespace {

void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "wrong: %s\n", what);
  std::_Exit(1);
}

void check(const Ref<NSString>& actual, const char* expected) {
  check(actual && actual->bytes() == expected, expected);
}

void useVersions() {
  const Ref<ZKVersion> version = ZKVersion::versionWithString("1.2.3 (4)"_ns);
  check(version != nullptr, "a version from text");
  check(version->description(), "1.2.3 (4)");
  check(version->descriptionShort(), "1.2.3");
  check(version->descriptionFull(), "1.2.3.4");
  check(version->number()->description(), "102030004");
}

void useErrors() {
  const Ref<NSError> posix = POSIX::errorWithPOSIXCode(ZKENOENT, "reason"_ns, "/path"_ns);
  check(posix->domain(), "NSPOSIXErrorDomain");
  check(asString(posix->userInfo()->objectForKey(NSLocalizedFailureReasonErrorKey)), "reason");
  check(asString(posix->userInfo()->objectForKey(NSFilePathErrorKey)), "/path");
  check(posix->localizedDescription(), "No such file or directory");
  check(posix->description(), "NSPOSIXErrorDomain 2: /path: No such file or directory: reason");
  check(macOSErrorNumber(EAGAIN) == ZKEAGAIN, "a translated error number");
  check(OSStatus::errorWithOSStatus(procNotFound, nullptr)->domain(), "NSOSStatusErrorDomain");
}

Ref<NSString> semaphoreName() {
  return NSString::stringWithBytes("zk-test-" + std::to_string(System::current().getpid()));
}

void useSemaphores() {
  const Ref<ZKPOSIXSemaphore> semaphore = ZKPOSIXSemaphore::initWithCreate(semaphoreName(), true, 0600, 1);
  check(semaphore != nullptr, "a new semaphore");
  Ref<NSError> error;
  check(semaphore->wait(), "a free semaphore is taken");
  check(!semaphore->tryWait(&error) && ZKPOSIXSemaphore::isBusyError(error), "a taken semaphore is busy");
  check(asString(error->userInfo()->objectForKey(NSLocalizedFailureReasonErrorKey)),
        "The semaphore is already locked.");
  check(semaphore->post(), "a semaphore is given back");

  const std::string temporary = std::filesystem::temp_directory_path().string();
  const Ref<NSURL> folder = NSURL::fileURLWithPath(NSString::stringWithBytes(temporary));
  check(semaphore->waitWithProcessInfo(folder, 0, 0), "a guarded wait");
  check(ZKPOSIXSemaphore::isProcessInfoValid(asDictionary(semaphore->processInfoAtURL(folder))), "a holder's record");
  check(semaphore->postWithProcessInfo(folder), "a guarded post");
  check(semaphore->unlink(), "a name is removed");

  const NSAutoreleasePool pool;
  check(!ZKPOSIXSemaphore::openWithName(semaphoreName()), "it is gone");
}

void useProcessInfo() {
  const Ref<NSDictionary> info = ZKPOSIXSemaphore::currentProcessInfo();
  const Ref<NSNumber> pid = asNumber(info->objectForKey(ZKPOSIXSemaphore::pidKey));
  check(pid && pid->intValue() == System::current().getpid(), "this process's id in its record");
  check(info->objectForKey(ZKPOSIXSemaphore::executablePathKey) != nullptr, "its executable there");
}

void usePlatform() {
  Ref<NSNumber> isPackage;
  check(getResourceValue(NSURL::fileURLWithPath("/"_ns), isPackage, NSURLIsPackageKey), "a resource value");
  check(System::current().arguments().empty(), "no arguments");
}

void useUpdates() {
  const char* const updates = std::getenv("ZK_UPDATES");
  check(updates != nullptr, "a folder of updates in ZK_UPDATES");
  const auto start = ZKUpdateStart::startInstaller("/usr/bin/false", updates);
  check(start->state() == ZKUpdateStart::State::ended && start->exitStatus() == 1, start->reason());
  check(!ZKUpdateOutcome::outcomeOfUpdate(0, nullptr, updates)->wasInstalled(), "no update");
}

void useInterfaceForC() {
  std::uint64_t version = 0;
  check(zk_version_parse("1.2.3.4", &version) == 0, "a version from C");
  zk_semaphore* semaphore = nullptr;
  check(zk_semaphore_open(semaphoreName()->UTF8String(), &semaphore) == ZKENOENT, "no semaphore from C");
  zk_update* update = nullptr;
  check(zk_update_begin("/usr/bin/false", "/", 0, 1, &update) == 0, "an update from C");
  check(zk_update_poll(update) == ZK_UPDATE_FOLDER_IN_THE_WAY, zk_update_reason(zk_update_poll(update)));
  zk_update_free(update);
}

void useEverything() {
  useVersions();
  useErrors();
  useSemaphores();
  useProcessInfo();
  usePlatform();
  useUpdates();
  useInterfaceForC();
}

}  // namespace

StaticObject::StaticObject(const char* name)
    : name_(name),
      version_(ZKVersion::init()),
      error_(POSIX::errorWithPOSIXCode(ZKEAGAIN, nullptr)),
      semaphore_(ZKPOSIXSemaphore::initWithCreate(semaphoreName(), true, 0600, 1)) {
  check(semaphore_->unlink(), "its name is removed");
  useEverything();
  std::printf("%s made\n", name_);
}

StaticObject::~StaticObject() {
  useEverything();
  check(version_->description(), "1.0.1 (13)");
  check(ZKPOSIXSemaphore::isBusyError(error_), "the error from before main()");
  check(semaphore_->wait() && semaphore_->post(), "the semaphore from before main()");
  std::printf("%s destroyed\n", name_);
}

}  // namespace zk::test
