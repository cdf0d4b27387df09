/* Counts the allocations of a program from the start of its main() on, and refuses some.
 *
 * ZK_REFUSE=N      the N-th allocation fails, counted from 0
 * ZK_REFUSE=N-     the N-th and all later ones fail
 * ZK_COUNT=FILE    the count of a program that ends by itself is written there
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

static int isCounting;
static long count;
static long refused = -1;
static int isForGood;
static int (*realMain)(int, char**, char**);

static int isRefused(void) {
  if (!isCounting) return 0;
  const long number = count++;
  if (refused < 0 || (isForGood ? number < refused : number != refused)) return 0;
  errno = ENOMEM;
  return 1;
}

void* malloc(size_t size) { return isRefused() ? NULL : __libc_malloc(size); }
void* calloc(size_t number, size_t size) { return isRefused() ? NULL : __libc_calloc(number, size); }
void* realloc(void* old, size_t size) { return isRefused() ? NULL : __libc_realloc(old, size); }
void* memalign(size_t alignment, size_t size) { return isRefused() ? NULL : __libc_memalign(alignment, size); }
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** result, size_t alignment, size_t size) {
  void* made = memalign(alignment, size);
  if (made == NULL) return ENOMEM;
  *result = made;
  return 0;
}

static int countingMain(int argumentCount, char** arguments, char** environment) {
  const char* refuse = getenv("ZK_REFUSE");
  const char* file = getenv("ZK_COUNT");
  char* end;
  if (refuse != NULL) {
    refused = strtol(refuse, &end, 10);
    isForGood = *end == '-';
  }
  isCounting = 1;
  const int status = realMain(argumentCount, arguments, environment);
  isCounting = 0;
  const int place = file != NULL ? open(file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644) : -1;
  if (place >= 0) {
    dprintf(place, "%ld\n", count);
    close(place);
  }
  return status;
}

int __libc_start_main(int (*program)(int, char**, char**), int argumentCount, char** arguments, void (*init)(void),
                      void (*fini)(void), void (*linkerEnd)(void), void* stackEnd) {
  typeof(&__libc_start_main) next = (typeof(&__libc_start_main))dlsym(RTLD_NEXT, "__libc_start_main");
  realMain = program;
  return next(countingMain, argumentCount, arguments, init, fini, linkerEnd, stackEnd);
}
