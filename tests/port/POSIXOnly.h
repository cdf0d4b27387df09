// Included before every source of the build that must know only POSIX of 2008. With only that declared, the headers of
// this C++ library lack three functions of the system that they use.
#pragma once

#include <pthread.h>
#include <time.h>

extern "C" int pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const struct timespec*);
extern "C" int pthread_mutex_clocklock(pthread_mutex_t*, clockid_t, const struct timespec*);
extern "C" long syscall(long, ...) noexcept;
