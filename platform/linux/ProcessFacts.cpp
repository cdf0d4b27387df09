#include "linux/ProcessFacts.h"

#include <fcntl.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "files/Folder.h"
#include "files/ItemKind.h"
#include "linux/ProcFile.h"
#include "objects/Path.h"

namespace zk {

namespace {

constexpr std::string_view kDeletedNote = " (deleted)";

/// The folders under /proc that describe a process: its own, then those of its threads. Once the first thread has
/// ended, its folder and the process's own are of no use, even if other threads still run.
std::vector<std::string> foldersOf(std::int32_t pid) {
  std::vector<std::string> folders{procFolder(pid)};
  const std::string tasks = folders.front() + "/task";
  FileDescriptor folder;
  std::vector<Entry> threads;
  if (openFolder({AT_FDCWD, tasks.c_str()}, Links::refused, folder)) return folders;
  if (readEntries(folder.get(), threads)) return folders;
  for (const Entry& thread : threads) folders.push_back(joinedPath(tasks, thread.name));
  return folders;
}

/// A symbolic link in one of these folders.
struct ProcLink {
  std::string path;
  std::string target;
};

std::optional<ProcLink> processLink(std::int32_t pid, const std::string& name) {
  for (const std::string& folder : foldersOf(pid)) {
    if (std::optional<std::string> target = readProcLink(folder + name)) return ProcLink{folder + name, *target};
  }
  return std::nullopt;
}

/// More than a program can be started with, but a privileged process can show more.
constexpr std::size_t kMostShown = 8 << 20;

/// The texts in one of these files, each of which ends with a zero byte.
std::vector<std::string> shownTextsOf(std::int32_t pid, const std::string& name) {
  std::vector<std::string> texts;
  for (const std::string& folder : foldersOf(pid)) {
    const std::optional<std::string> shown = readProcFile(folder + name, kMostShown);
    if (!shown || shown->empty()) continue;
    std::string_view rest = *shown;
    while (!rest.empty()) {
      const std::string_view text = rest.substr(0, rest.find('\0'));
      texts.emplace_back(text);
      rest.remove_prefix(std::min(text.size() + 1, rest.size()));
    }
    break;
  }
  return texts;
}

}  // namespace

std::optional<Executable> executableOf(std::int32_t pid) {
  std::optional<ProcLink> link = processLink(pid, "/exe");
  if (!link) return std::nullopt;
  // The link leads to the file itself, whatever has become of the file's name.
  if (isSameItem(link->path, link->target)) return Executable{link->target, false};
  if (link->target.ends_with(kDeletedNote)) link->target.resize(link->target.size() - kDeletedNote.size());
  return Executable{link->target, true};
}

std::vector<std::string> shownArgumentsOf(std::int32_t pid) { return shownTextsOf(pid, "/cmdline"); }

std::optional<std::vector<std::string>> shownEnvironmentOf(std::int32_t pid) {
  std::vector<std::string> environment = shownTextsOf(pid, "/environ");
  std::erase_if(environment, [](const std::string& text) { return text.find('=') == std::string::npos; });
  if (environment.empty()) return std::nullopt;
  return environment;
}

std::optional<std::string> currentFolderOf(std::int32_t pid) {
  const std::optional<ProcLink> link = processLink(pid, "/cwd");
  if (!link) return std::nullopt;
  return link->target;
}

}  // namespace zk
