/* measured COMMAND...
 *
 * Runs a command and prints its wait status, when it began and ended (nanoseconds of the monotonic clock), the
 * processor time of its whole tree (microseconds) and its peak memory (KiB). A process inherits the peak memory of the
 * one that it was forked from: this program is small, the benchmark itself is not.
 */
#define _GNU_SOURCE
#include <signal.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static long long nanoseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

static long long microseconds(struct timeval time) { return time.tv_sec * 1000000LL + time.tv_usec; }

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2) return 2;
  const long long begin = nanoseconds();
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // no command outlives its measurement
    dup2(STDERR_FILENO, STDOUT_FILENO);
    execvp(arguments[1], arguments + 1);
    perror(arguments[1]);
    _exit(127);
  }

  int status;
  struct rusage usage;
  if (child < 0 || wait4(child, &status, 0, &usage) != child) return 2;
  const long long end = nanoseconds();
  const long long processor = microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
  printf("%d %lld %lld %lld %ld\n", status, begin, end, processor, usage.ru_maxrss);
  return 0;
}
