#pragma once

#include "objects/NSError.h"
#include "objects/NSURL.h"
#include "system/SystemError.h"

namespace zk {

/// An error of the operating system, with the path of the item `url`.
Ref<NSError> fileError(SystemError error, const Ref<NSURL>& url);

}  // namespace zk
