#include "ZKUpdateOutcome.h"

#include <filesystem>
#include <string_view>

#include "Application.h"
#include "UpdateNote.h"
#include "files/NSFileManager.h"

namespace zk {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kAutoUpdateKey = "-com.quillory.tavoro.update.AutoUpdateEnabled";

/// Whether these are the arguments that the installer gives.
bool areOfInstaller(int argumentCount, const char* const* arguments) {
  for (int index = 1; index + 1 < argumentCount; ++index) {
    if (arguments[index] == kAutoUpdateKey) return std::string_view(arguments[index + 1]) == "NO";
  }
  return false;
}

/// Whether nothing is at `url` any more.
bool removed(const Ref<NSURL>& url) {
  NSFileManager::defaultManager()->removeItemAtURL(url);
  std::error_code error;
  return fs::symlink_status(pathOf(url), error).type() == fs::file_type::not_found;
}

bool move(const Ref<NSURL>& from, const Ref<NSURL>& to) {
  std::error_code error;
  fs::rename(pathOf(from), pathOf(to), error);
  return !error;
}

}  // namespace

Ref<ZKUpdateOutcome> ZKUpdateOutcome::outcomeOfUpdate(int argumentCount, const char* const* arguments,
                                                      const std::string& updateFolder) {
  const Ref<ZKUpdateOutcome> outcome(new ZKUpdateOutcome);
  outcome->followsUpdate_ = areOfInstaller(argumentCount, arguments);

  const Ref<NSBundle> application = applicationBundle();
  outcome->updateFolder_ = NSURL::fileURLWithPath(NSString::stringWithBytes(updateFolder));
  const std::optional<UpdateNote> note = outcome->updateFolder_ ? readNote(outcome->updateFolder_) : std::nullopt;
  if (!application || !note) return outcome;

  outcome->place_ = application->bundleURL();
  outcome->isInPlace_ = isInPlace(*application, outcome->updateFolder_);
  outcome->backup_ = finishedBackup(*application, *note);
  if (outcome->backup_ && note->version) outcome->fromVersion_ = note->version->bytes();
  return outcome;
}

std::string ZKUpdateOutcome::backupPath() const { return backup_ ? pathOf(backup_).string() : std::string(); }

bool ZKUpdateOutcome::accept() {
  // Without a note this may be any folder.
  if (!place_) return false;
  if (backup_ && !isInPlace_) return false;
  // The folder holds the note that leads to the backup, so it goes last.
  if (backup_ && !removed(backup_)) return false;
  backup_ = nullptr;
  return removed(updateFolder_);
}

bool ZKUpdateOutcome::putBack() {
  if (!backup_) return false;
  // The new bundle goes to a hidden folder of its own first: from there it can come back, and removing it cannot stop
  // half-way in the application's place.
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSURL> aside = files->URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, place_, true);
  if (!aside) return false;
  const bool isAside = move(place_, aside);
  const bool isBack = isAside && move(backup_, place_);
  if (isAside && !isBack) move(aside, place_);
  if (!isBack) {
    // Empty again, if the new bundle could return.
    std::error_code error;
    fs::remove(pathOf(aside), error);
    return false;
  }
  backup_ = nullptr;
  removeNote(updateFolder_);
  files->removeItemAtURL(aside);
  return true;
}

}  // namespace zk
