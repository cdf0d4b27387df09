/* Runs an installer and lets one of its system calls go wrong.
 *
 * usage: tracer [WORD=VALUE...] PROGRAM ARGUMENT...
 *
 * record=FILE          writes a line for each call: process, call number, first argument, result, path of an openat(),
 *                      a mkdirat() or an unlinkat()
 * target=PID           ends this process when the installer first sleeps; no sleep takes any time
 * fail=PROCESS:CALL:N:ERROR  the N-th call with this number fails with this error number and does nothing
 * kill=PROCESS:CALL:N  the process is killed when it makes its N-th call with this number, before that does anything
 * before=PROCESS:CALL:N:COMMAND  a shell runs the command before the process makes that call
 * always=CALL:ERROR    each call with this number fails with this error number and does nothing
 * preload=LIBRARY      is loaded into the installer
 *
 * Process 0 is the installer, from the first call of its main() on, which asks for descriptor 0. Process 1 is the one
 * that it makes to start an application, up to the start of that. Calls are counted from 0, each number by itself: how
 * often the C library asks for random numbers to name a file differs from run to run.
 *
 * Ends with the installer's exit status, or 128 and its signal, once all that the installer started has ended.
 */
#define _GNU_SOURCE
#include <elf.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

enum { MOST_RULES = 8, MOST_CALLS = 1024, INSTALLER = 0, CHILD = 1 };

struct process {
  pid_t pid;
  int isCounting;
  int isInside; /* a call */
  int skipped;  /* what the call gives back that is not made; 1 for a call that is made */
  int hasCalled;
  long counts[MOST_CALLS];
  struct __ptrace_syscall_info entry;
  char path[PATH_MAX];
};

static struct process processes[2];
static FILE* record;
static pid_t target;
static struct {
  int process;
  long call;
  long number;
  int error;
  const char* command;
} point = {.process = -1};
static struct {
  long call;
  int error;
} always[MOST_RULES];
static int alwaysCount;

static void fail(const char* what) {
  perror(what);
  exit(200);
}

static void endTarget(void) {
  if (target == 0) return;
  struct pollfd end = {(int)syscall(SYS_pidfd_open, target, 0), POLLIN, 0};
  kill(target, SIGKILL);
  if (end.fd < 0 || poll(&end, 1, 10000) != 1) fail("target");
  close(end.fd);
  target = 0;
}

#if defined(__x86_64__)
static void skipCall(pid_t pid) { ptrace(PTRACE_POKEUSER, pid, offsetof(struct user_regs_struct, orig_rax), -1L); }

static void setResult(pid_t pid, long result) {
  ptrace(PTRACE_POKEUSER, pid, offsetof(struct user_regs_struct, rax), result);
}
#elif defined(__aarch64__)
static void skipCall(pid_t pid) {
  int none = -1;
  struct iovec part = {&none, sizeof none};
  ptrace(PTRACE_SETREGSET, pid, NT_ARM_SYSTEM_CALL, &part);
}

static void setResult(pid_t pid, long result) {
  struct user_regs_struct registers;
  struct iovec part = {&registers, sizeof registers};
  ptrace(PTRACE_GETREGSET, pid, NT_PRSTATUS, &part);
  registers.regs[0] = (unsigned long)result;
  ptrace(PTRACE_SETREGSET, pid, NT_PRSTATUS, &part);
}
#endif

/* What a call gives back that must not be made, or 1. */
static int resultOf(const struct process* process, int index) {
  const long call = (long)process->entry.entry.nr;
  if (point.process == index && point.call == call && point.number == process->counts[call]) {
    if (point.error != 0) return -point.error;
    if (point.command == NULL) kill(process->pid, SIGKILL);
    if (point.command != NULL && system(point.command) < 0) fail(point.command);
    return 1;
  }
  for (int rule = 0; rule < alwaysCount; ++rule) {
    if (always[rule].call == call) return -always[rule].error;
  }
  if (target >= 0 && call == SYS_clock_nanosleep) {
    endTarget();
    return 0;
  }
  return 1;
}

static void readPath(struct process* process) {
  process->path[0] = '\0';
  const unsigned long long call = process->entry.entry.nr;
  if (call != SYS_openat && call != SYS_mkdirat && call != SYS_unlinkat) return;
  /* Up to the end of a page at a time: the next one may not be there. */
  unsigned long from = process->entry.entry.args[1];
  size_t length = 0;
  while (length < sizeof process->path - 1) {
    size_t size = 4096 - from % 4096;
    if (size > sizeof process->path - 1 - length) size = sizeof process->path - 1 - length;
    struct iovec here = {process->path + length, size}, there = {(void*)from, size};
    if (process_vm_readv(process->pid, &here, 1, &there, 1, 0) != (ssize_t)size) break;
    if (memchr(process->path + length, '\0', size) != NULL) return;
    length += size;
    from += size;
  }
  process->path[length] = '\0';
}

static void enterCall(struct process* process, int index) {
  ptrace(PTRACE_GET_SYSCALL_INFO, process->pid, sizeof process->entry, &process->entry);
  const struct __ptrace_syscall_info* info = &process->entry;
  if (info->entry.nr == SYS_fcntl && info->entry.args[0] == 0 && info->entry.args[1] == F_GETFD)
    process->isCounting = 1;
  process->skipped = 1;
  if (!process->isCounting) return;
  readPath(process);
  process->skipped = resultOf(process, index);
  ++process->counts[process->entry.entry.nr];
  if (process->skipped != 1) skipCall(process->pid);
}

static void writeLine(const struct process* process, int index, long long result) {
  if (record == NULL) return;
  fprintf(record, "%d %lld %lld %lld %s\n", index, (long long)process->entry.entry.nr,
          (long long)process->entry.entry.args[0], result, process->path);
  fflush(record);
}

static void leaveCall(struct process* process, int index) {
  if (!process->isCounting) return;
  if (process->skipped != 1) setResult(process->pid, process->skipped);
  struct __ptrace_syscall_info left;
  ptrace(PTRACE_GET_SYSCALL_INFO, process->pid, sizeof left, &left);
  writeLine(process, index, left.exit.rval);
}

static void readWord(const char* word, const char* value) {
  if (strcmp(word, "record") == 0) {
    record = fopen(value, "we");
    if (record == NULL) fail(value);
  } else if (strcmp(word, "target") == 0) {
    target = atoi(value);
  } else if (strcmp(word, "fail") == 0) {
    if (sscanf(value, "%d:%ld:%ld:%d", &point.process, &point.call, &point.number, &point.error) != 4) exit(200);
  } else if (strcmp(word, "kill") == 0) {
    if (sscanf(value, "%d:%ld:%ld", &point.process, &point.call, &point.number) != 3) exit(200);
  } else if (strcmp(word, "before") == 0) {
    int length = 0;
    if (sscanf(value, "%d:%ld:%ld:%n", &point.process, &point.call, &point.number, &length) != 3) exit(200);
    point.command = value + length;
  } else if (strcmp(word, "always") == 0 && alwaysCount < MOST_RULES) {
    if (sscanf(value, "%ld:%d", &always[alwaysCount].call, &always[alwaysCount].error) != 2) exit(200);
    ++alwaysCount;
  } else if (strcmp(word, "preload") == 0) {
    setenv("LD_PRELOAD", value, 1);
  } else {
    fprintf(stderr, "unknown word: %s\n", word);
    exit(200);
  }
}

static void start(char** command) {
  processes[INSTALLER].pid = fork();
  if (processes[INSTALLER].pid < 0) fail("fork");
  if (processes[INSTALLER].pid == 0) {
    ptrace(PTRACE_TRACEME, 0, 0, 0);
    raise(SIGSTOP);
    execv(command[0], command);
    _exit(201);
  }
  unsetenv("LD_PRELOAD");
  const pid_t pid = processes[INSTALLER].pid;
  if (waitpid(pid, NULL, 0) != pid) fail("start");
  const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK | PTRACE_O_TRACEEXEC;
  if (ptrace(PTRACE_SETOPTIONS, pid, 0, options) != 0) fail("options");
  ptrace(PTRACE_SYSCALL, pid, 0, 0);
}

static void startChild(pid_t pid) {
  processes[CHILD].pid = pid;
  processes[CHILD].isCounting = 1;
}

static void handleStop(struct process* process, int index, int status) {
  const int event = status >> 16;
  const int number = WSTOPSIG(status);
  int passedOn = 0;
  if (number == (SIGTRAP | 0x80)) {
    process->isInside = !process->isInside;
    process->hasCalled = 1;
    (process->isInside ? enterCall : leaveCall)(process, index);
  } else if (event == PTRACE_EVENT_EXEC && index == CHILD) {
    writeLine(process, index, 0);
    ptrace(PTRACE_DETACH, process->pid, 0, 0);
    return;
  } else if (event == 0 && !(index == CHILD && !process->hasCalled && number == SIGSTOP)) {
    passedOn = number;
  }
  ptrace(PTRACE_SYSCALL, process->pid, 0, passedOn);
}

int main(int count, char** arguments) {
  target = -1;
  int first = 1;
  for (char* value; first < count && (value = strchr(arguments[first], '=')) != NULL; ++first) {
    *value = '\0';
    readWord(arguments[first], value + 1);
  }
  if (first == count) return 200;
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  start(arguments + first);

  int status;
  int result = 200;
  for (pid_t pid; (pid = waitpid(-1, &status, __WALL)) > 0;) {
    if (pid == processes[INSTALLER].pid && !WIFSTOPPED(status)) {
      result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    if (!WIFSTOPPED(status)) continue;
    const int index = pid == processes[INSTALLER].pid ? INSTALLER : CHILD;
    if (index == CHILD && processes[CHILD].pid != pid) startChild(pid);
    handleStop(&processes[index], index, status);
  }
  return result;
}
