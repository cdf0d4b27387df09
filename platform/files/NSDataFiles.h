#pragma once

#include <cstddef>

#include "objects/NSData.h"
#include "objects/NSURL.h"

namespace zk {

/// `dataWithContentsOfURL:`, the content of the regular file at `url`, links followed. Absent when `url` is, and when
/// it is no regular file (a FIFO or a device is not waited for), cannot be read, or holds more than `mostBytes`.
Ref<NSData> dataWithContentsOfURL(const Ref<NSURL>& url, std::size_t mostBytes);

/// `writeToURL:atomically:`, writes `data` to the file at `url`, mode 0666 less the umask. With `atomically` a reader
/// sees the whole old file or the whole new one, and a failure leaves only the old one; without, the file is emptied
/// and written. False on any failure, and when either is absent.
bool writeToURL(const Ref<NSData>& data, const Ref<NSURL>& url, bool atomically);

}  // namespace zk
