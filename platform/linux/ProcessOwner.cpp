#include "linux/ProcessOwner.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "linux/ProcFile.h"
#include "linux/ProcessFacts.h"

namespace zk {

namespace {

/// The numbers behind `label`, which begins a line of the status; nothing if there is no such line, or it has another
/// form.
std::optional<std::vector<std::uint32_t>> numbersIn(std::string_view status, std::string_view label) {
  const std::size_t begin = status.find(label);
  if (begin == std::string_view::npos) return std::nullopt;
  std::string_view rest = status.substr(begin + label.size());
  rest = rest.substr(0, rest.find('\n'));

  std::vector<std::uint32_t> numbers;
  while (true) {
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    if (rest.empty()) return numbers;
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (error != std::errc()) return std::nullopt;
    numbers.push_back(number);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  }
}

/// Whether these are a process's four ids, and all the same.
bool areOne(const std::optional<std::vector<std::uint32_t>>& ids) {
  return ids && ids->size() == 4 && std::ranges::count(*ids, ids->front()) == 4;
}

}  // namespace

std::optional<ProcessOwner> ownerIn(std::string_view status) {
  const auto users = numbersIn(status, "\nUid:");
  const auto groups = numbersIn(status, "\nGid:");
  auto furtherGroups = numbersIn(status, "\nGroups:");
  if (!areOne(users) || !areOne(groups) || !furtherGroups) return std::nullopt;
  return ProcessOwner{users->front(), groups->front(), std::move(*furtherGroups)};
}

std::optional<ProcessOwner> ownerOf(std::int32_t pid) {
  const std::optional<std::string> status = readProcFile(procFolder(pid) + "/status");
  return status ? ownerIn(*status) : std::nullopt;
}

std::optional<LaunchUser> launchUserOf(std::int32_t pid, const std::optional<ProcessOwner>& owner) {
  if (!owner) return std::nullopt;
  std::optional<std::vector<std::string>> environment;
  if (isUserOfThisProcess(*owner)) {
    environment.emplace();
  } else {
    environment = shownEnvironmentOf(pid);
  }
  // Looked at again last: a process that has become another user's meanwhile, by running a set-id program, must not
  // lend its new user to its old program, nor its old user the new environment.
  if (!environment || ownerOf(pid) != owner) return std::nullopt;
  return LaunchUser{*owner, std::move(*environment)};
}

bool isRoot() { return ::geteuid() == 0; }

bool isUserOfThisProcess(const ProcessOwner& owner) { return owner.user == ::geteuid(); }

}  // namespace zk
