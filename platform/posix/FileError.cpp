#include "posix/FileError.h"

#include "process/ErrorNumbers.h"

namespace zk {

Ref<NSError> fileError(int systemErrorNumber, const Ref<NSURL>& url) {
  return NSError::errorWithDomain(NSPOSIXErrorDomain, macOSErrorNumber(systemErrorNumber),
                                  NSDictionary::dictionaryWithEntries({{NSFilePathErrorKey, url->path()}}));
}

}  // namespace zk
