#include <algorithm>

#include "Boundary.h"
#include "ZKVersion.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

using namespace zk;

int zk_version_parse(const char* text, uint64_t* version) {
  if (text == nullptr || version == nullptr) return ZKEINVAL;
  return c::errorNumberOf([&] {
    const Ref<ZKVersion> parsed = ZKVersion::versionWithString(c::textOf(text));
    if (!parsed) return ZKEINVAL;
    *version = parsed->unsignedLongLong();
    return c::kNoError;
  });
}

int zk_version_compare(uint64_t left, uint64_t right) { return left == right ? 0 : left > right ? 1 : -1; }

void zk_version_text(uint64_t version, char* text, size_t size) {
  if (text == nullptr || size == 0) return;
  *text = 0;
  if (size < ZK_VERSION_TEXT_SIZE) return;
  unlessOutOfMemory([&] {
    const Ref<NSString> description = ZKVersion(version).description();
    std::copy_n(description->UTF8String(), description->length() + 1, text);
  });
}

uint64_t zk_library_version(void) { return ZKVersion::applicationVersionUnsignedLongLong(); }
