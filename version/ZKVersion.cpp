#include "ZKVersion.h"

#include <algorithm>

namespace zk {

namespace {

/// One of the four parts of a packed value.
struct Part {
  std::uint64_t weight;
  std::uint16_t largest;
  std::uint64_t mask;  ///< the bits that a setter clears: largest * weight, cut to its low 32 bits

  std::uint64_t packed(std::uint16_t value) const { return std::min(value, largest) * weight; }

  /// The mask clears bits, but the packing is decimal: this does not replace the part cleanly, and is not meant to.
  std::uint64_t setIn(std::uint64_t version, std::uint16_t value) const { return (version & ~mask) + packed(value); }
};

constexpr Part kMajor = {100'000'000, 99, 0x4E160300};
constexpr Part kMinor = {1'000'000, 99, 0x5E69EC0};
constexpr Part kMicro = {10'000, 99, 0xF1B30};
constexpr Part kSpin = {1, 9'999, 0x270F};

/// The object as a version; null if it is absent or not a version.
const ZKVersion* asVersion(const Ref<NSObject>& object) { return dynamic_cast<const ZKVersion*>(object.get()); }

Ref<ZKVersion> ifValid(const Ref<ZKVersion>& version) { return version->isValid() ? version : nullptr; }

}  // namespace

std::uint16_t ZKVersion::extractMajor(std::uint64_t packed) {
  return static_cast<std::uint16_t>(packed / kMajor.weight);
}

std::uint16_t ZKVersion::extractMinor(std::uint64_t packed) {
  return static_cast<std::uint16_t>(packed / kMinor.weight % 100);
}

std::uint16_t ZKVersion::extractMicro(std::uint64_t packed) {
  return static_cast<std::uint16_t>(packed / kMicro.weight % 100);
}

std::uint16_t ZKVersion::extractSpin(std::uint64_t packed) { return static_cast<std::uint16_t>(packed % 10'000); }

Ref<ZKVersion> ZKVersion::init() { return initWithUnsignedLongLong(applicationVersionUnsignedLongLong()); }

Ref<ZKVersion> ZKVersion::initWithUnsignedLongLong(std::uint64_t packed) { return std::make_shared<ZKVersion>(packed); }

Ref<ZKVersion> ZKVersion::initWithMajor(std::uint16_t major, std::uint16_t minor, std::uint16_t micro,
                                        std::uint16_t spin) {
  return initWithUnsignedLongLong(kMajor.packed(major) + kMinor.packed(minor) + kMicro.packed(micro) +
                                  kSpin.packed(spin));
}

Ref<ZKVersion> ZKVersion::versionWithUnsignedLongLong(std::uint64_t packed) {
  return ifValid(initWithUnsignedLongLong(packed));
}

Ref<ZKVersion> ZKVersion::versionWithMajor(std::uint16_t major, std::uint16_t minor, std::uint16_t micro,
                                           std::uint16_t spin) {
  return ifValid(initWithMajor(major, minor, micro, spin));
}

void ZKVersion::setMajor(std::uint16_t major) { version = kMajor.setIn(version, major); }
void ZKVersion::setMinor(std::uint16_t minor) { version = kMinor.setIn(version, minor); }
void ZKVersion::setMicro(std::uint16_t micro) { version = kMicro.setIn(version, micro); }
void ZKVersion::setSpin(std::uint16_t spin) { version = kSpin.setIn(version, spin); }

bool ZKVersion::isEqualToVersion(const Ref<ZKVersion>& other) const { return version == (other ? other->version : 0); }

bool ZKVersion::isEqual(const Ref<NSObject>& object) const {
  const ZKVersion* other = asVersion(object);
  return other != nullptr && version == other->version;
}

std::size_t ZKVersion::hash() const { return number()->hash(); }

int ZKVersion::compare(const Ref<ZKVersion>& other) const {
  if (!other) return 1;
  if (version == other->version) return 0;
  return version > other->version ? 1 : -1;
}

bool ZKVersion::isGreaterThan(const Ref<NSObject>& other) const {
  const ZKVersion* right = asVersion(other);
  return right == nullptr || version > right->version;
}

bool ZKVersion::isGreaterThanOrEqualTo(const Ref<NSObject>& other) const {
  const ZKVersion* right = asVersion(other);
  return right == nullptr || version >= right->version;
}

bool ZKVersion::isLessThan(const Ref<NSObject>& other) const { return !isGreaterThanOrEqualTo(other); }

bool ZKVersion::isLessThanOrEqualTo(const Ref<NSObject>& other) const { return !isGreaterThan(other); }

bool ZKVersion::isNotEqualTo(const Ref<NSObject>& other) const { return !isEqual(other); }

}  // namespace zk
