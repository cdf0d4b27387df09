#pragma once

#include "ZKUpdater.h"

namespace zk::test {

/// An updater that no look-up has made: its fields are what a test sets.
class BareUpdater : public ZKUpdater {
 public:
  using ZKUpdater::isLogEnabled;
  using ZKUpdater::logError;
  using ZKUpdater::targetBundleId;
  using ZKUpdater::targetBundleURL;
  using ZKUpdater::updateBundleURL;
  using ZKUpdater::updateDirectory;
};

}  // namespace zk::test
