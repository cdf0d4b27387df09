#pragma once

#include "objects/NSObject.h"

namespace zk {

/// Seconds from 1970-01-01 00:00:00 UTC to 2001-01-01 00:00:00 UTC, the reference date.
inline constexpr double kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

/// An immutable point in time, held as seconds since 2001-01-01 00:00:00 UTC.
class NSDate final : public NSObject {
 public:
  explicit NSDate(double secondsSinceReferenceDate) : seconds_(secondsSinceReferenceDate) {}

  static Ref<NSDate> dateWithTimeIntervalSince1970(double seconds);
  static Ref<NSDate> dateWithTimeIntervalSinceReferenceDate(double seconds);

  double timeIntervalSinceReferenceDate() const { return seconds_; }

  /// Exact equality of the time values; there is no tolerance.
  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;

 private:
  double seconds_;
};

/// The object as a date; absent if it is absent or not a date.
Ref<NSDate> asDate(const Ref<NSObject>& object);

}  // namespace zk
