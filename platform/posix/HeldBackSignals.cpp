#include "posix/HeldBackSignals.h"

#include <signal.h>

#include <initializer_list>

namespace zk {

namespace {

enum class State { notBegun, lettingThrough, heldBack };

State state = State::notBegun;

void changeMask(int how) {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGQUIT}) ::sigaddset(&signals, number);
  ::pthread_sigmask(how, &signals, nullptr);
}

}  // namespace

void HeldBackSignals::begin() {
  state = State::lettingThrough;
  sigset_t none;
  ::sigemptyset(&none);
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
