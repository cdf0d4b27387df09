#include "linux/ProcessBundle.h"

#include <stdlib.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "files/ItemKind.h"
#include "objects/Path.h"
#include "system/System.h"

namespace zk {

namespace {

/// How many arguments are looked at: a process can show as many as it likes.
constexpr std::size_t kMostArguments = 16;

/// What an interpreter or a loader runs: the first of its arguments that names a file. Options do not name files, and
/// neither do most of their values. Nothing if no argument does.
std::optional<std::string> scriptOf(std::int32_t pid) {
  const std::vector<std::string> arguments = shownArgumentsOf(pid);
  const std::string folder = currentFolderOf(pid).value_or("/");
  for (std::size_t index = 1; index < std::min(arguments.size(), kMostArguments); ++index) {
    const std::string& argument = arguments[index];
    const std::string path = argument.starts_with('/') ? argument : joinedPath(folder, argument);
    if (isRegularFile(path)) return path;
  }
  return std::nullopt;
}

/// The bundle whose own main executable is `program`, links followed, or absent.
Ref<NSBundle> bundleOfProgram(const std::string& program) {
  const std::unique_ptr<char, void (*)(void*)> file(::realpath(program.c_str(), nullptr), &::free);
  if (!file) return nullptr;
  const Ref<NSBundle> bundle = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(file.get()));
  const Ref<NSString> executable = bundle ? bundle->executablePath() : nullptr;
  return executable && isSameItem(fileSystemRepresentation(executable), file.get()) ? bundle : nullptr;
}

}  // namespace

ProcessBundle bundleOfProcess(std::int32_t pid, const Executable& executable) {
  const Ref<NSBundle> around = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(executable.path));
  if (around) return {around, false};

  // There is no sure sign of an interpreter; we go by its arguments. So a program that merely works on a bundle's own
  // executable is taken for an interpreter, too. No record ever holds a bundle that was found this way.
  const std::optional<std::string> script = scriptOf(pid);
  const Ref<NSBundle> bundle = script ? bundleOfProgram(*script) : nullptr;
  return {bundle, bundle != nullptr};
}

}  // namespace zk
