#include <algorithm>

#include "Boundary.h"
#include "ZKUpdateOutcome.h"
#include "ZKUpdateStart.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

using namespace zk;

struct zk_update {
  Ref<ZKUpdateStart> object;
};

struct zk_outcome {
  Ref<ZKUpdateOutcome> object;
  std::string backupPath;  ///< as it was when the outcome was read
};

namespace {

using State = ZKUpdateStart::State;

static_assert(static_cast<int>(State::waiting) == ZK_UPDATE_WAITING);
static_assert(static_cast<int>(State::ready) == ZK_UPDATE_READY);
static_assert(static_cast<int>(State::noApplication) == ZK_UPDATE_NO_APPLICATION);
static_assert(static_cast<int>(State::folderInTheWay) == ZK_UPDATE_FOLDER_IN_THE_WAY);
static_assert(static_cast<int>(State::noUpdate) == ZK_UPDATE_NO_UPDATE);
static_assert(static_cast<int>(State::noProgram) == ZK_UPDATE_NO_PROGRAM);
static_assert(static_cast<int>(State::notNewer) == ZK_UPDATE_NOT_NEWER);
static_assert(static_cast<int>(State::folderNotWritable) == ZK_UPDATE_FOLDER_NOT_WRITABLE);
static_assert(static_cast<int>(State::placeNotWritable) == ZK_UPDATE_PLACE_NOT_WRITABLE);
static_assert(static_cast<int>(State::notStarted) == ZK_UPDATE_NOT_STARTED);
static_assert(static_cast<int>(State::ended) == ZK_UPDATE_ENDED);
static_assert(static_cast<int>(State::late) == ZK_UPDATE_LATE);

/// Not a number and negative times are none; a day is as good as any longer time.
std::chrono::milliseconds milliseconds(double seconds) {
  constexpr double kLongest = 24.0 * 60 * 60;
  const double bounded = seconds > 0 ? std::min(seconds, kLongest) : 0;
  return std::chrono::milliseconds(static_cast<long long>(bounded * 1000));
}

zk_update_state stateOf(const zk_update& update) { return static_cast<zk_update_state>(update.object->state()); }

/// Whether there are as many arguments as their number says.
bool areThere(int count, const char* const* arguments) {
  if (count <= 0) return true;
  return arguments != nullptr && std::find(arguments, arguments + count, nullptr) == arguments + count;
}

}  // namespace

int zk_update_begin(const char* installer, const char* update_folder, int may_be_older, double time_limit,
                    zk_update** update) {
  if (update == nullptr) return ZKEINVAL;
  *update = nullptr;
  if (installer == nullptr || update_folder == nullptr) return ZKEINVAL;
  return c::errorNumberOf([&] {
    const ZKUpdateOptions options{may_be_older != 0, milliseconds(time_limit)};
    return c::handOver(ZKUpdateStart::beginInstaller(installer, update_folder, options), update);
  });
}

zk_update_state zk_update_poll(zk_update* update) {
  if (update == nullptr) return ZK_UPDATE_NOT_STARTED;
  unlessOutOfMemory([&] { update->object->poll(); });
  return stateOf(*update);
}

zk_update_state zk_update_wait(zk_update* update) {
  if (update == nullptr) return ZK_UPDATE_NOT_STARTED;
  unlessOutOfMemory([&] { update->object->wait(); });
  return stateOf(*update);
}

const char* zk_update_reason(zk_update_state state) { return ZKUpdateStart::reasonFor(static_cast<State>(state)); }

int zk_update_exit_status(const zk_update* update) { return update == nullptr ? -1 : update->object->exitStatus(); }

const char* zk_update_log_line(const zk_update* update) {
  return update == nullptr ? "" : update->object->logLine().c_str();
}

void zk_update_free(zk_update* update) { delete update; }

int zk_outcome_read(int argument_count, const char* const* arguments, const char* update_folder, zk_outcome** outcome) {
  if (outcome == nullptr) return ZKEINVAL;
  *outcome = nullptr;
  if (update_folder == nullptr || !areThere(argument_count, arguments)) return ZKEINVAL;
  return c::errorNumberOf([&] {
    const auto object = ZKUpdateOutcome::outcomeOfUpdate(argument_count, arguments, update_folder);
    *outcome = new zk_outcome{object, object->backupPath()};
    return c::kNoError;
  });
}

void zk_outcome_free(zk_outcome* outcome) { delete outcome; }

int zk_outcome_follows_update(const zk_outcome* outcome) {
  return outcome != nullptr && outcome->object->followsUpdate() ? 1 : 0;
}

int zk_outcome_was_installed(const zk_outcome* outcome) {
  return outcome != nullptr && outcome->object->wasInstalled() ? 1 : 0;
}

const char* zk_outcome_from_version(const zk_outcome* outcome) {
  return outcome == nullptr ? "" : outcome->object->fromVersion().c_str();
}

const char* zk_outcome_backup_path(const zk_outcome* outcome) {
  return outcome != nullptr && outcome->object->hasBackup() ? outcome->backupPath.c_str() : "";
}

int zk_outcome_accept(zk_outcome* outcome) {
  return outcome != nullptr && unlessOutOfMemory([&] { return outcome->object->accept(); }) ? 1 : 0;
}

int zk_outcome_put_back(zk_outcome* outcome) {
  return outcome != nullptr && unlessOutOfMemory([&] { return outcome->object->putBack(); }) ? 1 : 0;
}
