#pragma once

#include "ZKUpdateStart.h"
#include "files/NSBundle.h"

namespace zk {

/// Looks at an update before an installer is started. ZKUpdateStart::State::waiting when nothing speaks against it,
/// else the state that says why it could never work.
ZKUpdateStart::State checkedUpdate(const NSBundle& application, const Ref<NSURL>& updateFolder, bool mayBeOlder);

}  // namespace zk
