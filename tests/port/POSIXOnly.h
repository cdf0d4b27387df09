// Read before every source of the build that must not know more than POSIX of 2008. With that alone declared, this C++
// library lacks three functions of the system that its own headers name.
#pragma once

#include <pthread.h>
#include <time.h>

extern "C" int pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const struct timespec*);
extern "C" int pthread_mutex_clocklock(pthread_mutex_t*, clockid_t, const struct timespec*);
extern "C" long syscall(long, ...) noexcept;
