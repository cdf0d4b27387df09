#include "system/ErrorNumbers.h"

#include <cerrno>

#include "system/Port.h"

namespace zk {

int macOSErrorNumber(int systemErrorNumber) { return port::macOSErrorNumber(systemErrorNumber); }

int errorNumber() { return macOSErrorNumber(errno); }

ErrorNumberKeeper::ErrorNumberKeeper() : saved_(errno) {}
ErrorNumberKeeper::~ErrorNumberKeeper() { errno = saved_; }

}  // namespace zk
