#include "Boundary.h"
#include "POSIXErrorTable.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

using namespace zk;

struct zk_semaphore {
  Ref<ZKPOSIXSemaphore> object;
};

namespace {

int numberIn(const Ref<NSError>& error) { return error ? static_cast<int>(error->code()) : c::kOutOfMemory; }

/// Opens a semaphore by `open` and hands it over.
template <class Open>
int openInto(zk_semaphore** semaphore, const char* name, const Open& open) {
  if (semaphore == nullptr) return ZKEINVAL;
  *semaphore = nullptr;
  if (name == nullptr) return ZKEINVAL;
  return c::errorNumberOf([&] {
    Ref<NSError> error;
    const Ref<ZKPOSIXSemaphore> object = open(c::textOf(name), &error);
    return object ? c::handOver(object, semaphore) : numberIn(error);
  });
}

/// What a wait of an open semaphore comes to.
template <class Wait>
int resultOf(const zk_semaphore* semaphore, const Wait& wait) {
  if (semaphore == nullptr) return ZKEINVAL;
  return c::errorNumberOf([&] {
    Ref<NSError> error;
    return wait(*semaphore->object, &error) ? c::kNoError : numberIn(error);
  });
}

/// What becomes of `use`, which is given the folder of a record.
template <class Use>
int resultIn(const char* folder, const Use& use) {
  return c::errorNumberOf([&] {
    const Ref<NSURL> url = NSURL::fileURLWithPath(c::textOf(folder));
    return url ? use(url) : ZKEINVAL;
  });
}

}  // namespace

const char* zk_error_text(int number) { return ZKPOSIXErrorDescription(number); }

int zk_semaphore_open(const char* name, zk_semaphore** semaphore) {
  return openInto(semaphore, name, [](const Ref<NSString>& text, Ref<NSError>* error) {
    return ZKPOSIXSemaphore::initWithOpen(text, error);
  });
}

int zk_semaphore_create(const char* name, int fail_if_exists, unsigned mode, unsigned count, zk_semaphore** semaphore) {
  return openInto(semaphore, name, [&](const Ref<NSString>& text, Ref<NSError>* error) {
    return ZKPOSIXSemaphore::initWithCreate(text, fail_if_exists != 0, static_cast<std::uint16_t>(mode), count, error);
  });
}

void zk_semaphore_close(zk_semaphore* semaphore) { delete semaphore; }

int zk_semaphore_unlink(const char* name) {
  if (name == nullptr) return ZKEINVAL;
  return c::errorNumberOf([&] { return ZKPOSIXSemaphore::unlinkName(c::textOf(name)) ? c::kNoError : errorNumber(); });
}

int zk_semaphore_wait(zk_semaphore* semaphore) {
  return resultOf(semaphore, [](ZKPOSIXSemaphore& object, Ref<NSError>* error) { return object.wait(error); });
}

int zk_semaphore_try_wait(zk_semaphore* semaphore) {
  return resultOf(semaphore, [](ZKPOSIXSemaphore& object, Ref<NSError>* error) { return object.tryWait(error); });
}

int zk_semaphore_post(zk_semaphore* semaphore) {
  if (semaphore == nullptr) return ZKEINVAL;
  return semaphore->object->post() ? c::kNoError : errorNumber();
}

int zk_semaphore_wait_guarded(zk_semaphore* semaphore, const char* folder, size_t most_pauses, double pause) {
  return resultIn(folder, [&](const Ref<NSURL>& url) {
    return resultOf(semaphore, [&](ZKPOSIXSemaphore& object, Ref<NSError>* error) {
      return object.waitWithProcessInfo(url, most_pauses, pause, error);
    });
  });
}

int zk_semaphore_post_guarded(zk_semaphore* semaphore, const char* folder) {
  if (semaphore == nullptr) return ZKEINVAL;
  return resultIn(folder, [&](const Ref<NSURL>& url) {
    return semaphore->object->postWithProcessInfo(url) ? c::kNoError : ZKENOENT;
  });
}
