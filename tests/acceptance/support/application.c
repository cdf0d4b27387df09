/* The application that the tests update.
 *
 * Started with one of the words below, it plays the old version, which runs until it is killed. Started in any other
 * way, as by the installer, it writes a report about itself to a file in the folder that ZK_REPORTS names, and ends.
 */
#define _GNU_SOURCE
#include <dirent.h>
#include <libgen.h>
#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

static void* stay(void* unused) {
  printf("%ld\n", syscall(SYS_gettid));
  fflush(stdout);
  while (1) pause();
  return unused;
}

static void startThread(void) {
  pthread_t thread;
  if (pthread_create(&thread, NULL, stay, NULL) != 0) exit(2);
}

static void reportDescriptors(FILE* report) {
  DIR* folder = opendir("/proc/self/fd");
  for (struct dirent* entry = readdir(folder); entry != NULL; entry = readdir(folder)) {
    char target[PATH_MAX] = "";
    if (entry->d_name[0] == '.' || atoi(entry->d_name) == dirfd(folder)) continue;
    if (readlinkat(dirfd(folder), entry->d_name, target, sizeof target - 1) < 0) continue;
    fprintf(report, "descriptor %s %s\n", entry->d_name, target);
  }
  closedir(folder);
}

static void reportFile(FILE* report, const char* word, const char* path) {
  char line[4096];
  FILE* file = fopen(path, "r");
  if (file == NULL) return;
  while (fgets(line, sizeof line, file) != NULL) fprintf(report, "%s %s%s", word, line, strchr(line, '\n') ? "" : "\n");
  fclose(file);
}

static void writeReport(int argumentCount, char** arguments, const char* folder) {
  char* text = NULL;
  size_t size = 0;
  FILE* report = open_memstream(&text, &size);
  reportDescriptors(report);
  for (int index = 1; index < argumentCount; ++index) fprintf(report, "argument %s\n", arguments[index]);
  for (char** variable = environ; *variable != NULL; ++variable) fprintf(report, "environment %s\n", *variable);
  fprintf(report, "process %d\nsession %d\ngroup %d\n", getpid(), getsid(0), getpgrp());

  char path[PATH_MAX + 64];
  fprintf(report, "folder %s\n", getcwd(path, sizeof path) != NULL ? path : "?");
  reportFile(report, "status", "/proc/self/status");
  reportFile(report, "limit", "/proc/self/limits");
  reportFile(report, "control-group", "/proc/self/cgroup");
  fprintf(report, "priority %d\n", getpriority(PRIO_PROCESS, 0));

  const ssize_t length = readlink("/proc/self/exe", path, PATH_MAX);
  if (length > 0) {
    path[length] = '\0';
    fprintf(report, "program %s\n", path);
    strcat(dirname(path), "/../Resources/version");
    reportFile(report, "version", path);
  }
  fclose(report);

  char unfinished[PATH_MAX];
  char finished[PATH_MAX];
  snprintf(unfinished, sizeof unfinished, "%s/.%d", folder, getpid());
  snprintf(finished, sizeof finished, "%s/%d", folder, getpid());
  FILE* file = fopen(unfinished, "w");
  if (file == NULL || fwrite(text, 1, size, file) != size || fclose(file) != 0) exit(3);
  if (rename(unfinished, finished) != 0) exit(4);
}

int main(int argumentCount, char** arguments) {
  const char* word = argumentCount == 2 ? arguments[1] : "";
  const char* reports = getenv("ZK_REPORTS");
  if (strcmp(word, "stay") == 0) {
    stay(NULL);
  } else if (strcmp(word, "stay-without-being-dumpable") == 0) {
    prctl(PR_SET_DUMPABLE, 0);
    stay(NULL);
  } else if (strcmp(word, "stay-with-a-second-thread") == 0) {
    startThread();
    while (1) pause();
  } else if (strcmp(word, "stay-without-the-first-thread") == 0) {
    startThread();
    pthread_exit(NULL);
  } else if (reports != NULL) {
    writeReport(argumentCount, arguments, reports);
  }
  return 0;
}
