#pragma once

#include <string>
#include <vector>

#include "files/NSBundle.h"

namespace zk {

/// What an application has to remember of an update from before it quits to its next start. Kept as a property list in
/// the update folder, ".zk-update-note".
struct UpdateNote {
  Ref<NSString> version;              ///< of the old bundle, as it is shown to people; may be absent
  std::int64_t modificationTime = 0;  ///< of the old bundle's folder: a finished backup has the same
  std::vector<std::string> backups;   ///< the digits of the backups that were there before
};

/// What is to be remembered of the bundle that is about to be replaced.
UpdateNote noteOf(const NSBundle& application);

bool writeNote(const UpdateNote& note, const Ref<NSURL>& updateFolder);
/// Nothing when no note is there, or none that can be understood.
std::optional<UpdateNote> readNote(const Ref<NSURL>& updateFolder);
void removeNote(const Ref<NSURL>& updateFolder);

/// The backup of the update that `note` is of, once it is finished; absent when there is none.
Ref<NSURL> finishedBackup(const NSBundle& application, const UpdateNote& note);

/// Whether the new bundle in the update folder has come into the application's place, all of it.
bool isInPlace(const NSBundle& application, const Ref<NSURL>& updateFolder);

}  // namespace zk
