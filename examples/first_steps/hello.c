/* The smallest application that updates itself; docs/first-steps.md builds and runs it. Its bundle lies in the folder
 * `app`, and its update, another bundle, in the folder `update` beside that. */

#include <libgen.h>
#include <stdio.h>
#include <unistd.h>
#include <zkupdater/zkupdater.h>

static const char kInstaller[] = "/usr/bin/zkupdater";

/* The folder `update` beside the folder that holds this program's bundle. */
static int find_update_folder(char* folder, size_t size) {
  char program[4096] = "";
  if (readlink("/proc/self/exe", program, sizeof program - 1) <= 0) return 0;
  return snprintf(folder, size, "%s/update", dirname(dirname(dirname(program)))) < (int)size;
}

static zk_update_state start_installer(const char* folder) {
  zk_update* update;
  if (zk_update_begin(kInstaller, folder, 0, 10, &update) != 0) return ZK_UPDATE_NOT_STARTED;
  const zk_update_state state = zk_update_wait(update);
  zk_update_free(update);
  return state;
}

/* Whether the installer has started this process. If so, the new version works, and the old one may go. */
static int follows_update(int count, char** arguments, const char* folder) {
  zk_outcome* outcome;
  if (zk_outcome_read(count, (const char* const*)arguments, folder, &outcome) != 0) return 0;
  const int follows = zk_outcome_follows_update(outcome);
  if (zk_outcome_was_installed(outcome)) zk_outcome_accept(outcome);
  zk_outcome_free(outcome);
  return follows;
}

int main(int count, char** arguments) {
  char folder[4096];
  if (!find_update_folder(folder, sizeof folder)) return 1;
  printf("This is version %d.\n", VERSION);
  if (follows_update(count, arguments, folder)) return 0;

  const zk_update_state state = start_installer(folder);
  puts(state == ZK_UPDATE_READY ? "The installer is ready. Good-bye." : zk_update_reason(state));
  return 0;
}
