#include "process/ProcessStart.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "posix/HeldBackSignals.h"
#include "posix/POSIXSystem.h"

namespace zk {

namespace {

void openStandardDescriptors() {
  // open() gives the lowest free number, which is the closed one that was just found.
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

void setAction(void (*action)(int)) {
  // Those that nobody may change answer with an error, which is all there is to know of them.
  for (int number = 1; number <= SIGRTMAX; ++number) ::signal(number, action);
}

/// Default actions for all signals but those that an installer outlives. All stay blocked until the caller lets them
/// through.
void setActionsOfInstaller() {
  // Whatever comes meanwhile waits: a hang-up must not find its default action in between.
  sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
  setAction(SIG_DFL);
  for (const int ignored : {SIGHUP, SIGPIPE, SIGXFSZ}) ::signal(ignored, SIG_IGN);
}

}  // namespace

void resetSignals() {
  // A signal that is ignored does not wait any more, even if it has been.
  setAction(SIG_IGN);
  setAction(SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

void startProcess(int argumentCount, char** arguments) {
  openStandardDescriptors();
  setActionsOfInstaller();
  HeldBackSignals::begin();
  setProcessArguments({arguments, arguments + argumentCount});
}

}  // namespace zk
