#pragma once

#include "ZKUpdater.h"

namespace zk::test {

/// An updater made without any look-up: a test sets its fields.
class BareUpdater : public ZKUpdater {
 public:
  using ZKUpdater::initTargetInfo;
  using ZKUpdater::isLogEnabled;
  using ZKUpdater::logError;
  using ZKUpdater::targetBundleId;
  using ZKUpdater::targetBundleURL;
  using ZKUpdater::targetPID;
  using ZKUpdater::updateBundleURL;
  using ZKUpdater::updateDirectory;
};

}  // namespace zk::test
