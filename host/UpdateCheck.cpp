#include "UpdateCheck.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "Application.h"
#include "ZKVersion.h"
#include "system/System.h"

namespace zk {

namespace {

namespace fs = std::filesystem;
using State = ZKUpdateStart::State;

/// Whether `inner` is `outer` or lies in it. Both without links.
bool liesIn(const fs::path& inner, const fs::path& outer) {
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

/// Whether one of the two is the other or lies in it, links followed. False when a path leads nowhere, such as through
/// a loop of links.
bool overlap(const Ref<NSURL>& left, const Ref<NSURL>& right) {
  std::error_code leftError;
  std::error_code rightError;
  const fs::path leftPath = fs::weakly_canonical(pathOf(left), leftError);
  const fs::path rightPath = fs::weakly_canonical(pathOf(right), rightError);
  if (leftError || rightError) return false;
  return liesIn(leftPath, rightPath) || liesIn(rightPath, leftPath);
}

bool isExecutable(const Ref<NSString>& path) {
  constexpr fs::perms kAnyExecute = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  std::error_code error;
  const fs::file_status status = fs::status(fileSystemRepresentation(path), error);
  return fs::is_regular_file(status) && (status.permissions() & kAnyExecute) != fs::perms::none;
}

/// The numbers of a version such as "1.2.3" or "2026.10", without zeros at the end; nothing for any other text.
std::optional<std::vector<std::uint64_t>> numbersOf(const Ref<NSString>& version) {
  const std::string_view text = version ? std::string_view(version->bytes()) : std::string_view();
  const char* const end = text.data() + text.size();
  std::vector<std::uint64_t> numbers;
  for (const char* place = text.data();;) {
    std::uint64_t number = 0;
    const auto [rest, error] = std::from_chars(place, end, number);
    if (error != std::errc()) return std::nullopt;
    numbers.push_back(number);
    if (rest == end) break;
    if (*rest != '.') return std::nullopt;
    place = rest + 1;
  }
  while (!numbers.empty() && numbers.back() == 0) numbers.pop_back();
  return numbers;
}

/// 1, 0 or -1: whether `left` is greater than, equal to or smaller than `right`; nothing if that cannot be said.
std::optional<int> comparison(const Ref<NSString>& left, const Ref<NSString>& right) {
  if (length(left) > 0 && areEqual(left, right)) return 0;
  // Plain numbers are compared one by one: a ZKVersion needs all four parts, and cuts large ones.
  const auto leftNumbers = numbersOf(left);
  const auto rightNumbers = numbersOf(right);
  if (leftNumbers && rightNumbers) return *leftNumbers == *rightNumbers ? 0 : *leftNumbers > *rightNumbers ? 1 : -1;
  const Ref<ZKVersion> leftVersion = ZKVersion::versionWithString(left);
  const Ref<ZKVersion> rightVersion = ZKVersion::versionWithString(right);
  if (leftVersion && rightVersion) return leftVersion->compare(rightVersion);
  return std::nullopt;
}

/// Whether the versions of both bundles can be compared and that of the update is not greater. Versions are compared
/// under the same key only; the second key decides between equal ones.
bool isKnownNotToBeNewer(const NSBundle& application, const NSBundle& update) {
  bool isKnown = false;
  for (const auto& key : {"CFBundleShortVersionString"_ns, "CFBundleVersion"_ns}) {
    const std::optional<int> order = comparison(update.infoText(key), application.infoText(key));
    if (order && *order != 0) return *order < 0;
    isKnown = isKnown || order.has_value();
  }
  return isKnown;
}

}  // namespace

State checkedUpdate(const NSBundle& application, const Ref<NSURL>& updateFolder, bool mayBeOlder) {
  const Ref<NSURL>& place = application.bundleURL();
  if (overlap(updateFolder, place)) return State::folderInTheWay;

  const Ref<NSURL> found = updateFor(application, updateFolder);
  const Ref<NSBundle> update = NSBundle::bundleWithURL(found);
  if (!update || !areEqual(update->bundleIdentifier(), application.bundleIdentifier())) return State::noUpdate;
  // A link in the update folder may lead back.
  if (overlap(found, place)) return State::folderInTheWay;

  const Ref<NSString> executable = update->executablePath();
  if (!executable || !isExecutable(executable)) return State::noProgram;
  if (!mayBeOlder && isKnownNotToBeNewer(application, *update)) return State::notNewer;
  return State::waiting;
}

}  // namespace zk
