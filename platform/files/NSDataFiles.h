#pragma once

#include <cstddef>

#include "objects/NSData.h"
#include "objects/NSURL.h"

namespace zk {

/// `dataWithContentsOfURL:`: the content of the regular file at `url`, links followed. Absent if `url` is absent, is
/// not a regular file (a FIFO or a device does not block the call), cannot be read, or holds more than `mostBytes`.
Ref<NSData> dataWithContentsOfURL(const Ref<NSURL>& url, std::size_t mostBytes);

/// `writeToURL:atomically:`: writes `data` to the file at `url`, mode 0666 less the umask. With `atomically`, a reader
/// sees either the whole old file or the whole new one, and a failure leaves only the old one. Without it, the file is
/// emptied and then written. False on any failure, and if either is absent.
bool writeToURL(const Ref<NSData>& data, const Ref<NSURL>& url, bool atomically);

}  // namespace zk
