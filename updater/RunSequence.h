#pragma once

namespace zk {

/// The whole run of the installer, from its settings to the restarted application.
/// @return the exit status: 0 when the update was installed, 1 otherwise
int runInstaller();

}  // namespace zk
