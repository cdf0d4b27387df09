#pragma once

namespace zk {

/// Makes a clean start of what was inherited, and remembers the arguments. To be called once, first thing in main().
///
/// Closed standard descriptors are opened on /dev/null (else a copied file could become standard error); the signal
/// mask and all dispositions are reset. SIGHUP, SIGPIPE and SIGXFSZ are then ignored: the process outlives what started
/// it. And SIGINT, SIGTERM and SIGQUIT end it only as long as it holds nothing: they are held back from the first
/// semaphore taken, or file manager of its own made, to its end. So they never leave a lock or half a bundle behind.
/// What this process launches is given none of it.
void startProcess(int argumentCount, char** arguments);

}  // namespace zk
