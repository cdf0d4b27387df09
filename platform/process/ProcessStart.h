#pragma once

namespace zk {

/// Cleans up what the process inherited, and remembers its arguments. Call it once, first thing in main().
///
/// Closed standard descriptors are opened on /dev/null, or else a copied file could become standard error. The signal
/// mask and all dispositions are reset. SIGHUP, SIGPIPE and SIGXFSZ are then ignored, since the process must outlive
/// the one that started it. SIGINT, SIGTERM and SIGQUIT end it only while it holds nothing: from the first semaphore
/// that it takes, or file manager that it makes, they are held back until it exits. So they never leave a lock or half
/// a bundle behind. Launched processes inherit none of this.
void startProcess(int argumentCount, char** arguments);

/// Gives every signal its default action, empties the signal mask and drops pending signals.
void resetSignals();

}  // namespace zk
