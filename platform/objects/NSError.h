#pragma once

#include "objects/NSDictionary.h"
#include "objects/NSString.h"

namespace zk {

/// Of errors whose codes are POSIX error numbers in the macOS numbering.
inline constexpr NSStringConstant NSPOSIXErrorDomain = "NSPOSIXErrorDomain"_constant;
/// Of errors whose codes are statuses of the system interfaces.
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
  /// An absent dictionary becomes an empty one. The domain may be absent.
  NSError(Ref<NSString> domain, long code, Ref<NSDictionary> userInfo);

  /// `errorWithDomain:code:userInfo:`. An absent dictionary becomes an empty one. The domain may be absent.
  static Ref<NSError> errorWithDomain(const Ref<NSString>& domain, long code, const Ref<NSDictionary>& userInfo);

  /// What the code is one of; may be absent.
  const Ref<NSString>& domain() const { return domain_; }
  /// The number of the error in its domain: in NSPOSIXErrorDomain one of macOS, on every system.
  long code() const { return code_; }
  /// What else is known, under the keys above. Never absent.
  const Ref<NSDictionary>& userInfo() const { return userInfo_; }

  /// What went wrong, as the user information says; if it does not, the domain and the code, "NSPOSIXErrorDomain 105".
  /// Never absent.
  Ref<NSString> localizedDescription() const;
  /// Why it went wrong in this call, as the user information says; absent if it does not.
  Ref<NSString> localizedFailureReason() const;

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  /// All that is known, on one line: domain and code, then what there is of path, URL, description and reason. For
  /// instance "NSPOSIXErrorDomain 2: /a/path: No such file or directory". Control characters are written "\x0a".
  Ref<NSString> description() const override;

 private:
  Ref<NSString> domain_;
  long code_;
  Ref<NSDictionary> userInfo_;
};

}  // namespace zk
