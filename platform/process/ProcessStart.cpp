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
  // The call fails for signals that cannot be changed, which does no harm.
  for (int number = 1; number <= port::highestSignalNumber(); ++number) static_cast<void>(::signal(number, action));
}

/// Sets the default action for every signal, and ignores those that an installer must survive. All stay blocked until
/// the caller lets them through.
void setActionsOfInstaller() {
  // Signals wait meanwhile: a hang-up must not meet its default action before it is ignored.
  const sigset_t all = allSignals();
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  setAction(SIG_DFL);
  for (const int ignored : {SIGHUP, SIGPIPE, SIGXFSZ}) static_cast<void>(::signal(ignored, SIG_IGN));
}

}  // namespace

void resetSignals() {
  // Ignoring a signal drops it if it is pending.
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
