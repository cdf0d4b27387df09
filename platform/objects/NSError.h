#pragma once

#include "objects/NSDictionary.h"
#include "objects/NSString.h"

namespace zk {

inline constexpr NSStringConstant NSPOSIXErrorDomain = "NSPOSIXErrorDomain"_constant;
inline constexpr NSStringConstant NSOSStatusErrorDomain = "NSOSStatusErrorDomain"_constant;

// Keys of an error's user information.

/// Text: what went wrong.
inline constexpr NSStringConstant NSLocalizedDescriptionKey = "NSLocalizedDescription"_constant;
/// Text: why, for this call.
inline constexpr NSStringConstant NSLocalizedFailureReasonErrorKey = "NSLocalizedFailureReason"_constant;
/// Text: the path it happened at.
inline constexpr NSStringConstant NSFilePathErrorKey = "NSFilePath"_constant;
/// NSURL: the URL it happened at.
inline constexpr NSStringConstant NSURLErrorKey = "NSURL"_constant;

/// An immutable error record: a domain, a code in that domain, and a dictionary that is never absent.
class NSError final : public NSObject {
 public:
  NSError(Ref<NSString> domain, long code, Ref<NSDictionary> userInfo);

  /// `errorWithDomain:code:userInfo:`. An absent dictionary becomes an empty one. The domain may be absent.
  static Ref<NSError> errorWithDomain(const Ref<NSString>& domain, long code, const Ref<NSDictionary>& userInfo);

  const Ref<NSString>& domain() const { return domain_; }
  long code() const { return code_; }
  const Ref<NSDictionary>& userInfo() const { return userInfo_; }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;

 private:
  Ref<NSString> domain_;
  long code_;
  Ref<NSDictionary> userInfo_;
};

}  // namespace zk
