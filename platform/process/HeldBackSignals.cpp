#include "process/HeldBackSignals.h"

#include "process/SignalSet.h"

namespace zk {

namespace {

enum class State { notBegun, lettingThrough, heldBack };

State state = State::notBegun;

void changeMask(int how) {
  const sigset_t signals = signalSet({SIGINT, SIGTERM, SIGQUIT});
  ::pthread_sigmask(how, &signals, nullptr);
}

}  // namespace

void HeldBackSignals::begin() {
  state = State::lettingThrough;
  const sigset_t none = signalSet({});
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

bool HeldBackSignals::mayEndProcess() { return state == State::lettingThrough; }

void HeldBackSignals::holdBack() {
  if (!mayEndProcess()) return;
  changeMask(SIG_BLOCK);
  state = State::heldBack;
}

HeldBackSignals::Attempt::Attempt() {
  if (mayEndProcess()) changeMask(SIG_BLOCK);
}

HeldBackSignals::Attempt::~Attempt() {
  if (mayEndProcess()) changeMask(SIG_UNBLOCK);
}

}  // namespace zk
