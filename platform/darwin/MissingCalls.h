#pragma once

#include <semaphore.h>
#include <signal.h>

namespace zk::darwin {

/// What sigtimedwait() does elsewhere: discards those of `signals` that are pending. All of them must be blocked.
void discardPending(const sigset_t& signals);

/// What sem_timedwait() does elsewhere, but for a length of time instead of a point in time: asks again and again.
/// @return 0 when the semaphore was taken, otherwise -1 with errno set: ETIMEDOUT when the time is up, EINTR when a
/// signal's handler ran meanwhile
int waitBriefly(sem_t* semaphore, long nanoseconds);

}  // namespace zk::darwin
