/* An application in C that updates itself; see tests/acceptance/c_interface_test.py. */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include "zkupdater.h"

static void show(const char* what, int number) { printf("%s %d\n", what, number); }

static void useSemaphores(const char* name, const char* folder) {
  zk_semaphore* semaphore = NULL;
  zk_semaphore* other = NULL;
  int missing = zk_semaphore_open(name, &semaphore);
  printf("open %d %s\n", missing, zk_error_text(missing));
  show("create", zk_semaphore_create(name, 1, 0600, 1, &semaphore));
  show("create", zk_semaphore_create(name, 1, 0600, 1, &other));
  show("try", zk_semaphore_try_wait(semaphore));
  show("try", zk_semaphore_try_wait(semaphore));
  show("post", zk_semaphore_post(semaphore));
  show("guarded wait", zk_semaphore_wait_guarded(semaphore, folder, 0, 0.01));
  show("guarded wait", zk_semaphore_wait_guarded(semaphore, folder, 1, 0.01));
  show("guarded post", zk_semaphore_post_guarded(semaphore, folder));
  show("guarded post", zk_semaphore_post_guarded(semaphore, folder));
  show("wait", zk_semaphore_wait(semaphore));
  zk_semaphore_close(semaphore);
  show("unlink", zk_semaphore_unlink(name));
  show("unlink", zk_semaphore_unlink(name));
}

static void useVersions(void) {
  uint64_t version = 0;
  char text[ZK_VERSION_TEXT_SIZE];
  show("parse", zk_version_parse("1.2.3", &version));
  show("parse", zk_version_parse("1.2.3.4", &version));
  zk_version_text(version, text, sizeof text);
  printf("version %" PRIu64 " %s\n", version, text);
  show("compare", zk_version_compare(version, version + 1));
}

static int update(const char* installer, const char* folder) {
  zk_update* start = NULL;
  show("begin", zk_update_begin(installer, "/", 0, 10, &start));
  printf("state %d %s\n", zk_update_poll(start), zk_update_reason(zk_update_poll(start)));
  zk_update_free(start);

  show("begin", zk_update_begin("/bin/false", folder, 0, 10, &start));
  show("state", zk_update_wait(start));
  printf("status %d, log %s\n", zk_update_exit_status(start), zk_update_log_line(start));
  zk_update_free(start);

  show("begin", zk_update_begin(installer, folder, 0, 10, &start));
  zk_update_state state = zk_update_wait(start);
  show("state", state);
  zk_update_free(start);
  return state == ZK_UPDATE_READY ? 0 : 1;
}

int main(int argumentCount, char** arguments) {
  const char* folder = getenv("HOST_UPDATES");
  zk_outcome* outcome = NULL;
  if (zk_outcome_read(argumentCount, (const char* const*)arguments, folder, &outcome) != 0) return 2;
  if (zk_outcome_follows_update(outcome)) {
    FILE* report = fopen(getenv("HOST_REPORT"), "w");
    fprintf(report, "%d %s %s\n", zk_outcome_was_installed(outcome), zk_outcome_from_version(outcome),
            zk_outcome_backup_path(outcome));
    fprintf(report, "accept %d\n", zk_outcome_accept(outcome));
    fprintf(report, "put back %d\nend\n", zk_outcome_put_back(outcome));
    fclose(report);
    zk_outcome_free(outcome);
    return 0;
  }
  zk_outcome_free(outcome);
  useSemaphores(getenv("HOST_SEMAPHORE"), folder);
  useVersions();
  return update(getenv("HOST_INSTALLER"), folder);
}
