#include "process/ProcessStart.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "process/HeldBackSignals.h"
#include "process/POSIXSystem.h"
#include "process/SignalSet.h"
#include "system/Port.h"

namespace zk {

namespace {

void openStandardDescriptors() {
  // open() gives the lowest free number, which is the closed one that was just found.
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

void setAction(void (*action)(int)) {
  // For the signals that nobody may change the call fails, and nothing is lost.
  for (int number = 1; number <= port::highestSignalNumber(); ++number) ::signal(number, action);
}

/// Default actions for all signals but those that an installer outlives. All stay blocked until the caller lets them
/// through.
void setActionsOfInstaller() {
  // A signal that comes meanwhile waits: a hang-up must not find its default action in between.
  const sigset_t all = allSignals();
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  setAction(SIG_DFL);
  for (const int ignored : {SIGHUP, SIGPIPE, SIGXFSZ}) ::signal(ignored, SIG_IGN);
}

}  // namespace

void resetSignals() {
  // Ignoring a signal drops those that are pending.
  setAction(SIG_IGN);
  setAction(SIG_DFL);
  const sigset_t none = signalSet({});
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

void startProcess(int argumentCount, char** arguments) {
  openStandardDescriptors();
  setActionsOfInstaller();
  HeldBackSignals::begin();
  setProcessArguments({arguments, arguments + argumentCount});
}

}  // namespace zk
