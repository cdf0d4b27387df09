#include "ErrorRecord.h"

namespace zk {

Ref<NSError> errorRecord(const Ref<NSString>& domain, long code, const Ref<NSString>& description,
                         const Ref<NSString>& failureReason, const Ref<NSString>& filePath, const Ref<NSURL>& url) {
  const bool hasDescription = length(description) > 0;
  const bool hasFailureReason = length(failureReason) > 0;
  const bool hasURL = url != nullptr;
  const bool hasFilePath = length(filePath) > 0;

  const std::size_t count = std::size_t{hasDescription} + hasFailureReason + hasURL + hasFilePath;
  const Ref<NSMutableDictionary> userInfo = NSMutableDictionary::dictionaryWithCapacity(count);
  if (!userInfo) return nullptr;

  if (hasDescription) userInfo->setObject(description, NSLocalizedDescriptionKey);
  if (hasFailureReason) userInfo->setObject(failureReason, NSLocalizedFailureReasonErrorKey);
  if (hasFilePath) userInfo->setObject(filePath, NSFilePathErrorKey);
  if (hasURL) userInfo->setObject(url, NSURLErrorKey);
  return NSError::errorWithDomain(domain, code, userInfo);
}

}  // namespace zk
