#include "UpdateCheck.h"

#include <algorithm>
#include <filesystem>

#include "Application.h"
#include "ZKVersion.h"
#include "files/BundleSearch.h"
#include "system/System.h"

namespace zk {

namespace {

namespace fs = std::filesystem;
using State = ZKUpdateStart::State;

/// Whether `inner` is `outer` or lies in it. Both without links.
bool liesIn(const fs::path& inner, const fs::path& outer) {
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

/// Whether one of the two is the other or lies in it, links followed.
bool overlap(const Ref<NSURL>& left, const Ref<NSURL>& right) {
  std::error_code error;
  const fs::path leftPath = fs::weakly_canonical(pathOf(left), error);
  const fs::path rightPath = fs::weakly_canonical(pathOf(right), error);
  return liesIn(leftPath, rightPath) || liesIn(rightPath, leftPath);
}

bool isExecutable(const Ref<NSString>& path) {
  constexpr fs::perms kAnyExecute = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  std::error_code error;
  const fs::file_status status = fs::status(fileSystemRepresentation(path), error);
  return fs::is_regular_file(status) && (status.permissions() & kAnyExecute) != fs::perms::none;
}

/// Whether the versions of both bundles can be compared and that of the update is not greater. Versions are compared
/// under the same key only.
bool isKnownNotToBeNewer(const NSBundle& application, const NSBundle& update) {
  for (const auto& key : {"CFBundleShortVersionString"_ns, "CFBundleVersion"_ns}) {
    const Ref<ZKVersion> installed = ZKVersion::versionWithString(application.infoText(key));
    const Ref<ZKVersion> offered = ZKVersion::versionWithString(update.infoText(key));
    if (installed && offered) return !offered->isGreaterThan(installed);
  }
  return false;
}

}  // namespace

State checkedUpdate(const NSBundle& application, const Ref<NSURL>& updateFolder, bool mayBeOlder) {
  const Ref<NSURL>& place = application.bundleURL();
  if (overlap(updateFolder, place)) return State::folderInTheWay;

  const Ref<NSString> identifier = application.bundleIdentifier();
  const Ref<NSURL> found = bundleInFolder(updateFolder, place->lastPathComponent(), identifier);
  const Ref<NSBundle> update = NSBundle::bundleWithURL(found);
  if (!update || !areEqual(update->bundleIdentifier(), identifier)) return State::noUpdate;
  // A link in the update folder may lead back.
  if (overlap(found, place)) return State::folderInTheWay;

  const Ref<NSString> executable = update->executablePath();
  if (!executable || !isExecutable(executable)) return State::noProgram;
  if (!mayBeOlder && isKnownNotToBeNewer(application, *update)) return State::notNewer;
  return State::waiting;
}

}  // namespace zk
