/** @file
 * The C interface of zkupdater: semaphores with a guarded wait, version numbers, and the host's side of an update.
 *
 * - Texts are UTF-8 and end with a zero byte. Paths are bytes as the file system knows them, and start from the current
 *   folder unless they are absolute. Times are seconds.
 * - "Answers an error number" means: 0 when it succeeded, else an error number as macOS counts them, on every system.
 *   2 is no such file, 12 out of memory, 17 exists, 22 invalid argument, 35 taken, 63 name too long. zk_error_text()
 *   describes it.
 * - A null pointer is an invalid argument: functions that answer an error number answer 22. The others answer what they
 *   have for nothing: 0, the empty text, ZK_UPDATE_NOT_STARTED, or -1 for an exit status.
 * - What a function puts into its last parameter, a pointer to a pointer, is the caller's to give back to the function
 *   named there, which takes a null pointer, too. On failure a null pointer is put there.
 * - Each object is used from one thread at a time, different objects from any number of threads at once. Functions
 *   without an object may be called by any thread. No C++ exception comes out of any function.
 */
#ifndef ZKUPDATER_H
#define ZKUPDATER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The English description of an error number, for instance "No such file or directory"; the empty text for one that is
 * not known. Static. */
const char* zk_error_text(int number);

/** An open semaphore. Semaphores have names, and unrelated processes open them by the same name. A name without a slash
 * and of at most 30 bytes works on every system. */
typedef struct zk_semaphore zk_semaphore;

/** The error number of a semaphore that is taken. */
#define ZK_BUSY 35

/** Opens a semaphore that exists. Answers an error number. Give back with zk_semaphore_close(). */
int zk_semaphore_open(const char* name, zk_semaphore** semaphore);

/** Opens a semaphore and makes it when it is missing: with these permission bits (for instance 0600) less the umask,
 * and this count. One that exists keeps its count, or with `fail_if_exists` is an error. Answers an error number. Give
 * back with zk_semaphore_close(). */
int zk_semaphore_create(const char* name, int fail_if_exists, unsigned mode, unsigned count, zk_semaphore** semaphore);

/** Closes a semaphore; neither posts it nor removes its name. */
void zk_semaphore_close(zk_semaphore* semaphore);

/** Removes a name from the system. Whoever has the semaphore open keeps it. Answers an error number. */
int zk_semaphore_unlink(const char* name);

/** Blocks until the semaphore is taken; a signal that is caught meanwhile is an error (4). Answers an error number. */
int zk_semaphore_wait(zk_semaphore* semaphore);

/** Takes the semaphore if that is possible at once. Answers an error number: ZK_BUSY when it is taken. */
int zk_semaphore_try_wait(zk_semaphore* semaphore);

/** Gives the semaphore back once. Answers an error number. */
int zk_semaphore_post(zk_semaphore* semaphore);

/** Takes the semaphore, and takes it over from a holder that has died: its record in `folder`, ".<name>.semaphore",
 * tells that. While it is taken this sleeps `pause` seconds and tries again, at most `most_pauses` times (SIZE_MAX for
 * any number); a holder without a record is then taken over from, even if it lives. Leaves this process's own record;
 * it is no error if that cannot be written. Answers an error number: ZK_BUSY when the holder still lives, 22 when
 * `folder` cannot be a path, because it is empty or too long. */
int zk_semaphore_wait_guarded(zk_semaphore* semaphore, const char* folder, size_t most_pauses, double pause);

/** Deletes the record and gives the semaphore back. Answers an error number: 2 when there was no record to delete (the
 * semaphore is given back all the same), or when it could not be given back. 22 as zk_semaphore_wait_guarded() does. */
int zk_semaphore_post_guarded(zk_semaphore* semaphore, const char* folder);

/* Versions of four parts, as one number whose decimal digits carry them: major * 100,000,000 + minor * 1,000,000 +
 * micro * 10,000 + spin. Such numbers compare as versions do. */

/** Room for the text of any version, in bytes, with the zero. */
#define ZK_VERSION_TEXT_SIZE 32

/** Reads "1.2.3.4", "1.2.3 (4)", "1.2 (4)", or such a number in digits. Dots and white space, in any number, separate
 * the parts; what follows a fourth part is ignored. Answers an error number: 22 for any other form; `version` then
 * stays as it was. */
int zk_version_parse(const char* text, uint64_t* version);

/** -1, 0 or 1: whether `left` is smaller than, equal to or greater than `right`. */
int zk_version_compare(uint64_t left, uint64_t right);

/** Writes the version as "1.2.3 (4)", or "1.2 (4)" when its third part is 0, with a zero byte; the empty text when
 * `size` is less than ZK_VERSION_TEXT_SIZE or memory has run out, and nothing at all when it is 0. */
void zk_version_text(uint64_t version, char* text, size_t size);

/** The version of this library. */
uint64_t zk_library_version(void);

/** The host's side: one attempt of the running application to have itself updated.
 *
 * The installer is a child process of the application. It has a session of its own and inherits no open files. If the
 * application is killed, the installer goes on: it installs the update and starts the new version. If it had not found
 * the application yet, it ends without a change. */
typedef struct zk_update zk_update;

/** What an attempt has come to. */
typedef enum zk_update_state {
  ZK_UPDATE_WAITING = 0, /**< the installer has been started and is not ready yet */
  ZK_UPDATE_READY = 1,   /**< quit now, within about 100 seconds */
  /* Refused: the update could never work, and no installer was started. */
  ZK_UPDATE_NO_APPLICATION = 2,      /**< this process runs from no bundle with an identifier */
  ZK_UPDATE_FOLDER_IN_THE_WAY = 3,   /**< the update folder is, holds or lies in the application's bundle */
  ZK_UPDATE_NO_UPDATE = 4,           /**< the update folder holds no bundle with the application's identifier */
  ZK_UPDATE_NO_PROGRAM = 5,          /**< the new bundle has no executable, or one without its executable bit */
  ZK_UPDATE_NOT_NEWER = 6,           /**< the update has the application's version or an older one */
  ZK_UPDATE_FOLDER_NOT_WRITABLE = 7, /**< nothing can be written to the update folder */
  ZK_UPDATE_PLACE_NOT_WRITABLE = 8,  /**< no backup can be made beside the application */
  /* Failed: go on; no installer runs any more. */
  ZK_UPDATE_NOT_STARTED = 9, /**< the installer could not be executed, or its semaphore not be made */
  ZK_UPDATE_ENDED = 10,      /**< the installer ended */
  ZK_UPDATE_LATE = 11        /**< the installer was not ready in time, and was ended */
} zk_update_state;

/** Looks at the update and starts the installer; does not wait for it. A refusal or a failed start is no error: it is
 * the state. Answers an error number: 22 or 12. Give back with zk_update_free().
 * - installer: path of the executable zkupdater
 * - update_folder: path of the folder that holds the new bundle
 * - may_be_older: not 0 to take an update that is not newer, too
 * - time_limit: how many seconds from now the installer may take until it is ready, a day at most; 10 is plenty */
int zk_update_begin(const char* installer, const char* update_folder, int may_be_older, double time_limit,
                    zk_update** update);

/** Looks once what has become of the installer. Does not block: for a timer, every 50 to 500 milliseconds. */
zk_update_state zk_update_poll(zk_update* update);

/** Waits, at most the time limit, until the state is another than ZK_UPDATE_WAITING. It is still that one if memory has
 * run out meanwhile. */
zk_update_state zk_update_wait(zk_update* update);

/** The state as an English sentence. Static; the empty text for a number that is no state. */
const char* zk_update_reason(zk_update_state state);

/** The exit status of an installer that has ended, 128 and the signal's number if a signal ended it. Else -1, and also
 * when another part of the process has collected it, for instance with waitpid(). */
int zk_update_exit_status(const zk_update* update);

/** Of an installer that has ended or was late: the first line in which it told of an error, else the last that it
 * wrote; else the empty text. Belongs to `update`. */
const char* zk_update_log_line(const zk_update* update);

/** Gives back the memory, and ends an installer that is still being waited for. One that is ready goes on. */
void zk_update_free(zk_update* update);

/** The host's side at the next start: what became of the update. */
typedef struct zk_outcome zk_outcome;

/** The outcome of the last update from this folder. Answers an error number: 22 or 12. Give back with
 * zk_outcome_free().
 * - argument_count, arguments: those of this process, its own name first
 * - update_folder: the one that zk_update_begin() was given; a new version starts in another current folder, "/" */
int zk_outcome_read(int argument_count, const char* const* arguments, const char* update_folder, zk_outcome** outcome);

/** Gives back the memory of an outcome, and nothing else. */
void zk_outcome_free(zk_outcome* outcome);

/** Not 0 when the installer has started this process, after an update or a failed attempt: look for no updates now. */
int zk_outcome_follows_update(const zk_outcome* outcome);

/** Not 0 when the update was installed: the new bundle is complete in its place, and the old one in the backup. By the
 * date of the bundle's folder, so read the outcome before anything is written directly into that folder. */
int zk_outcome_was_installed(const zk_outcome* outcome);

/** The version in the backup, as its bundle shows it to people; the empty text when it has none or there is no backup.
 * Belongs to `outcome`. */
const char* zk_outcome_from_version(const zk_outcome* outcome);

/** The path of the backup, a complete bundle; the empty text when there is none. If there is one, and still nothing was
 * installed, the installer was stopped before the new bundle was complete: zk_outcome_put_back() is the way out.
 * Belongs to `outcome`. */
const char* zk_outcome_backup_path(const zk_outcome* outcome);

/** The new version works: removes the backup, then the update folder. 0 when one of them is still there, when the
 * backup may be the only complete bundle, which then stays, or when the folder is none that zk_update_begin() has
 * started an installer with. */
int zk_outcome_accept(zk_outcome* outcome);

/** The new version does not work: puts the old bundle back in its place and removes the new one. Then quit: the next
 * start is one of the old version. 0 when there is no backup, or the bundles could not be exchanged: then the new
 * one stays in place. */
int zk_outcome_put_back(zk_outcome* outcome);

#ifdef __cplusplus
}
#endif

#endif
