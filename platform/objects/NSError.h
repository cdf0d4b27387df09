#pragma once

#include "objects/NSDictionary.h"
#include "objects/NSString.h"

namespace zk {

extern const Ref<NSString> NSPOSIXErrorDomain;
extern const Ref<NSString> NSOSStatusErrorDomain;

/// Keys of an error's user information.
extern const Ref<NSString> NSLocalizedDescriptionKey;         ///< text: what went wrong
extern const Ref<NSString> NSLocalizedFailureReasonErrorKey;  ///< text: why, for this call
extern const Ref<NSString> NSFilePathErrorKey;                ///< text: the path it happened at
extern const Ref<NSString> NSURLErrorKey;                     ///< NSURL: the URL it happened at

/// An immutable error record: a domain, a code in that domain, and a dictionary that is never absent.
class NSError final : public NSObject {
 public:
  NSError(Ref<NSString> domain, long code, Ref<NSDictionary> userInfo);

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
