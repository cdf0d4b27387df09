#include "files/FileError.h"

#include "system/ErrorNumbers.h"

namespace zk {

Ref<NSError> fileError(SystemError error, const Ref<NSURL>& url) {
  return NSError::errorWithDomain(NSPOSIXErrorDomain, macOSErrorNumber(error.number()),
                                  NSDictionary::dictionaryWithEntries({{NSFilePathErrorKey, url->path()}}));
}

}  // namespace zk
