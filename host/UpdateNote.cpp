#include "UpdateNote.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "Application.h"
#include "files/NSDataFiles.h"
#include "files/NSFileManager.h"
#include "files/ReplacementFolder.h"
#include "objects/NSArray.h"
#include "objects/NSNumber.h"
#include "plist/NSPropertyListSerialization.h"

namespace zk {

namespace {

namespace fs = std::filesystem;

constexpr NSStringConstant kVersionKey = "version"_constant;
constexpr NSStringConstant kModificationTimeKey = "modificationTime"_constant;
constexpr NSStringConstant kBackupsKey = "backups"_constant;
/// In bytes. A note takes some hundred.
constexpr std::size_t kLargestNote = std::size_t{1} << 20;

Ref<NSURL> noteURL(const Ref<NSURL>& updateFolder) {
  return updateFolder->URLByAppendingPathComponent(".zk-update-note"_ns);
}

/// In nanoseconds since 1970; nothing when it cannot be found out. A copied bundle gets the original's last: until the
/// copy is finished it has that of the copy's latest step.
std::optional<std::int64_t> modificationTimeOf(const fs::path& bundle) {
  std::error_code error;
  const fs::file_time_type time = fs::last_write_time(bundle, error);
  if (error) return std::nullopt;
  // The file clock itself counts from another moment in each C++ library, and the old and the new version may be built
  // with different ones.
  const auto sinceEpoch = std::chrono::file_clock::to_sys(time).time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count();
}

std::string backupPrefix(const fs::path& bundle) { return replacementPrefix(bundle.filename().string()); }

bool areBackupDigits(std::string_view text) {
  return text.size() == 16 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// The digits of the folders beside the bundle that are backups of it by their names.
std::vector<std::string> backupsBeside(const fs::path& bundle) {
  const std::string prefix = backupPrefix(bundle);
  std::vector<std::string> backups;
  const Ref<NSDirectoryEnumerator> items = NSFileManager::defaultManager()->enumeratorAtURL(
      urlOf(bundle.parent_path()), {}, NSDirectoryEnumerationSkipsSubdirectoryDescendants);
  while (const Ref<NSURL> item = items ? items->nextObject() : nullptr) {
    const fs::path path = pathOf(item);
    const std::string name = path.filename().string();
    if (!name.starts_with(prefix) || !areBackupDigits(std::string_view(name).substr(prefix.size()))) continue;
    std::error_code unknown;
    if (fs::symlink_status(path, unknown).type() == fs::file_type::directory) {
      backups.push_back(name.substr(prefix.size()));
    }
  }
  return backups;
}

}  // namespace

UpdateNote noteOf(const NSBundle& application) {
  const fs::path bundle = pathOf(application.bundleURL());
  return {shownVersionOf(application), modificationTimeOf(bundle).value_or(0), backupsBeside(bundle)};
}

bool writeNote(const UpdateNote& note, const Ref<NSURL>& updateFolder) {
  std::vector<Ref<NSObject>> backups;
  for (const std::string& digits : note.backups) backups.push_back(NSString::stringWithBytes(digits));
  std::vector<NSDictionary::Entry> entries = {
      {kModificationTimeKey, NSNumber::numberWithLongLong(note.modificationTime)},
      {kBackupsKey, NSArray::arrayWithObjects(backups)},
  };
  if (note.version) entries.push_back({kVersionKey, note.version});
  const Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList(
      NSDictionary::dictionaryWithEntries(entries), NSPropertyListBinaryFormat_v1_0);
  return data && writeToURL(data, noteURL(updateFolder), true);
}

std::optional<UpdateNote> readNote(const Ref<NSURL>& updateFolder) {
  const Ref<NSData> data = dataWithContentsOfURL(noteURL(updateFolder), kLargestNote);
  const Ref<NSDictionary> record =
      data ? asDictionary(NSPropertyListSerialization::propertyListWithData(data)) : nullptr;
  const Ref<NSNumber> time = record ? asNumber(record->objectForKey(kModificationTimeKey)) : nullptr;
  const Ref<NSArray> backups = record ? asArray(record->objectForKey(kBackupsKey)) : nullptr;
  if (!time || !backups) return std::nullopt;

  UpdateNote note{asString(record->objectForKey(kVersionKey)), time->longLongValue(), {}};
  for (const Ref<NSObject>& backup : backups->objects()) {
    if (const Ref<NSString> digits = asString(backup)) note.backups.push_back(digits->bytes());
  }
  return note;
}

void removeNote(const Ref<NSURL>& updateFolder) {
  NSFileManager::defaultManager()->removeItemAtURL(noteURL(updateFolder));
}

Ref<NSURL> finishedBackup(const NSBundle& application, const UpdateNote& note) {
  const fs::path bundle = pathOf(application.bundleURL());
  for (const std::string& digits : backupsBeside(bundle)) {
    const fs::path backup = bundle.parent_path() / (backupPrefix(bundle) + digits);
    const bool isNew = std::find(note.backups.begin(), note.backups.end(), digits) == note.backups.end();
    if (isNew && modificationTimeOf(backup) == note.modificationTime) return urlOf(backup);
  }
  return nullptr;
}

bool isInPlace(const NSBundle& application, const Ref<NSURL>& updateFolder) {
  const Ref<NSURL> update = updateFor(application, updateFolder);
  const auto time = update ? modificationTimeOf(pathOf(update)) : std::nullopt;
  return time && modificationTimeOf(pathOf(application.bundleURL())) == time;
}

}  // namespace zk
