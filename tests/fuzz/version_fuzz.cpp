// Any bytes, read as a version: reading stays inside them, gives no invalid version, and what it gives reads back.

#include "ZKVersion.h"
#include "fuzz/Fuzzing.h"

namespace {

using namespace zk;
using fuzz::require;

/// The largest version that can be built from parts; a larger packed value does not read back from its parts.
constexpr std::uint64_t kLargestOfParts = 99'99'99'9999;

void requireReadsBack(const Ref<ZKVersion>& version, const Ref<NSString>& form) {
  const Ref<ZKVersion> back = ZKVersion::versionWithString(form);
  require(back && back->isEqualToVersion(version));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Ref<NSString> text = NSString::stringWithBytes(zk::fuzz::asText(data, size));

  const Ref<ZKVersion> version = ZKVersion::versionWithString(text);
  if (version) {
    require(version->unsignedLongLong() >= 1'000'000);
    if (version->unsignedLongLong() <= kLargestOfParts) {
      requireReadsBack(version, version->description());
      requireReadsBack(version, version->descriptionFull());
    }
    requireReadsBack(version, NSString::stringWithBytes(" ." + text->bytes()));
  }

  require(ZKVersion::numberWithUnsignedLongLongFromNSObject(text) != nullptr);
  const Ref<ZKVersion> ofNumber = ZKVersion::versionWithNumber(text);
  require(!ofNumber || ofNumber->isValid());
  return 0;
}
