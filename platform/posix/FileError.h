#pragma once

#include "objects/NSError.h"
#include "objects/NSURL.h"

namespace zk {

/// An error of the operating system, by its own number, with the item at `url`.
Ref<NSError> fileError(int systemErrorNumber, const Ref<NSURL>& url);

}  // namespace zk
