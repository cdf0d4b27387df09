#pragma once

#include "ZKUpdater.h"

namespace zk::test {

/// An updater that no look-up has made: its fields are what a test sets.
class BareUpdater : public ZKUpdater {
 public:
  using ZKUpdater::initTargetInfo;
  using ZKUpdater::isLogEnabled;
  using ZKUpdater::targetBundleId;
  using ZKUpdater::targetBundleURL;
  using ZKUpdater::targetPID;
  using ZKUpdater::updateBundleURL;
  using ZKUpdater::updateDirectory;
};

}  // namespace zk::test
