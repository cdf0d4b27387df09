#include "process/NSThread.h"

#include "system/System.h"

namespace zk {

void NSThread::sleepForTimeInterval(double seconds) { System::current().sleepForTimeInterval(seconds); }

}  // namespace zk
