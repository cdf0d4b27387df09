#pragma once

#include "objects/NSNumber.h"
#include "objects/NSString.h"

// Some C libraries define these as macros that split a device number. At the end of this file they are as before.
#pragma push_macro("major")
#pragma push_macro("minor")
#undef major
#undef minor

namespace zk {

/// A version number with four parts (major, minor, micro, spin), packed into the decimal digits of one number: major *
/// 100,000,000 + minor * 1,000,000 + micro * 10,000 + spin. So versions sort as plain integers. In a version built from
/// its parts, major, minor and micro are 0 to 99 and spin is 0 to 9999. A packed value that is set directly may be any
/// number.
///
/// Mutable, without locks: used by one thread at a time. An absent version ranks below every version.
class ZKVersion : public NSObject {
 public:
  // Parts of a packed value.

  /// The quotient by 100,000,000 cut to its low 16 bits; deliberately not reduced modulo 100.
  static std::uint16_t extractMajor(std::uint64_t packed);
  /// 0 to 99.
  static std::uint16_t extractMinor(std::uint64_t packed);
  /// 0 to 99.
  static std::uint16_t extractMicro(std::uint64_t packed);
  /// 0 to 9999.
  static std::uint16_t extractSpin(std::uint64_t packed);

  // Set-up. Nothing is checked: a version made here need not be valid.

  /// The version with that packed value.
  explicit ZKVersion(std::uint64_t packed) : version(packed) {}

  /// The application version.
  static Ref<ZKVersion> init();
  /// The version with that packed value.
  static Ref<ZKVersion> initWithUnsignedLongLong(std::uint64_t packed);
  /// `initWithMajor:minor:micro:spin:`. A part above its largest value becomes that.
  static Ref<ZKVersion> initWithMajor(std::uint16_t major, std::uint16_t minor, std::uint16_t micro,
                                      std::uint16_t spin);
  /// The number that numberWithUnsignedLongLongFromNSObject() makes of `number` (may be absent); 0 if it makes none.
  static Ref<ZKVersion> initWithNumber(const Ref<NSObject>& number);

  // Factories. All but versionWithApplication() return absent if the version would not be valid.

  /// The version with that packed value; absent if it is below 1,000,000.
  static Ref<ZKVersion> versionWithUnsignedLongLong(std::uint64_t packed);
  /// `versionWithMajor:minor:micro:spin:`. A part above its largest value becomes that.
  static Ref<ZKVersion> versionWithMajor(std::uint16_t major, std::uint16_t minor, std::uint16_t micro,
                                         std::uint16_t spin);
  /// Also absent if numberWithUnsignedLongLongFromNSObject() makes no number of `number` (may be absent).
  static Ref<ZKVersion> versionWithNumber(const Ref<NSObject>& number);
  /// Reads "1.2.3.4", "1.2.3 (4)", "1.2 (4)", or a packed value. Dots and white space, in any number, separate the
  /// parts; what follows a fourth part is ignored. The spin must be given.
  /// @return absent for an absent text and for any other form.
  static Ref<ZKVersion> versionWithString(const Ref<NSString>& text);
  /// The application version.
  static Ref<ZKVersion> versionWithApplication();

  // The application version, fixed at build time.

  /// As a packed value.
  static std::uint64_t applicationVersionUnsignedLongLong();
  /// As a number object that holds the packed value.
  static Ref<NSNumber> applicationVersionNumber();

  // Parts and packed value.

  /// Up to 65,535, as extractMajor() gives it.
  ///
  /// Where the C library's macros of the same names are defined (<sys/sysmacros.h>), a call of these two needs
  /// parentheses that keep the macro away: `(version->major)()`, `(version->minor)()`.
  std::uint16_t major() const { return extractMajor(version); }
  /// 0 to 99.
  std::uint16_t minor() const { return extractMinor(version); }
  /// 0 to 99.
  std::uint16_t micro() const { return extractMicro(version); }
  /// 0 to 9999.
  std::uint16_t spin() const { return extractSpin(version); }

  /// The part setters clear the bits of the part's largest value in the packed value, then add the new part. The
  /// packing is decimal, so that does not generally clear the old part: setting the major of 1.0.1 (13) to 2 gives
  /// 2.31.45 (9357). This is deliberate. versionWithMajor() builds a version cleanly. A part above its largest value
  /// becomes that.
  void setMajor(std::uint16_t major);
  /// As setMajor() does.
  void setMinor(std::uint16_t minor);
  /// As setMajor() does.
  void setMicro(std::uint16_t micro);
  /// As setMajor() does.
  void setSpin(std::uint16_t spin);

  /// The packed value.
  std::uint64_t unsignedLongLong() const { return version; }
  /// Sets the packed value, to any number.
  void setUnsignedLongLong(std::uint64_t packed) { version = packed; }

  /// The packed value as a new number object.
  Ref<NSNumber> number() const;
  /// Sets the packed value to what numberWithUnsignedLongLongFromNSObject() makes of `number` (may be absent); if it
  /// makes none, the packed value stays as it is.
  void setNumber(const Ref<NSObject>& number);

  /// The object (may be absent) as a number. A number object is returned as it is. A text is read by its digits, after
  /// any leading zeros are skipped; without digits it is 0. Any other object gives its unsignedLongLongValue.
  /// @return absent for an absent object, and for one that has no such value.
  static Ref<NSNumber> numberWithUnsignedLongLongFromNSObject(const Ref<NSObject>& object);

  // Comparison.

  /// Whether the major or the minor is not 0: the packed value is at least 1,000,000.
  bool isValid() const { return version > 999'999; }

  /// Whether the packed values are equal. An absent `other` reads as 0.
  bool isEqualToVersion(const Ref<ZKVersion>& other) const;
  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;

  /// 1 if this version is greater than `other` or `other` is absent, 0 if they are equal, -1 if it is smaller.
  int compare(const Ref<ZKVersion>& other) const;

  /// Whether this version is greater than `other`: always, if that is absent or not a version.
  bool isGreaterThan(const Ref<NSObject>& other) const;
  /// Whether this version is at least `other`: always, if that is absent or not a version.
  bool isGreaterThanOrEqualTo(const Ref<NSObject>& other) const;
  /// Whether this version is smaller than `other`: never, if that is absent or not a version.
  bool isLessThan(const Ref<NSObject>& other) const;
  /// Whether this version is at most `other`: never, if that is absent or not a version.
  bool isLessThanOrEqualTo(const Ref<NSObject>& other) const;
  /// Whether this version is not equal to `other`: always, if that is absent or not a version.
  bool isNotEqualTo(const Ref<NSObject>& other) const;

  // Text forms. A micro of 0 is left out of the first two, whatever the spin is.

  /// "1.2.3 (4)", or "1.2 (4)" if the micro is 0.
  Ref<NSString> description() const override;
  /// "1.2.3". versionWithString() does not read this form.
  Ref<NSString> descriptionShort() const;
  /// "1.2.3.4"
  Ref<NSString> descriptionFull() const;

 private:
  std::uint64_t version;  ///< the packed value
};

}  // namespace zk

#pragma pop_macro("minor")
#pragma pop_macro("major")
