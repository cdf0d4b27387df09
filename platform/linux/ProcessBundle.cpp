#include "linux/ProcessBundle.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "system/System.h"

namespace zk {

namespace {

namespace fs = std::filesystem;

/// How many arguments are looked at: a process can show as many as it likes.
constexpr std::size_t kMostArguments = 16;

/// What an interpreter or a loader runs: the first of its arguments that names a file. Options do not name files, and
/// neither do most of their values. Nothing if no argument does.
std::optional<fs::path> scriptOf(std::int32_t pid) {
  const std::vector<std::string> arguments = shownArgumentsOf(pid);
  const fs::path folder = currentFolderOf(pid).value_or("/");
  for (std::size_t index = 1; index < std::min(arguments.size(), kMostArguments); ++index) {
    std::error_code error;
    if (fs::is_regular_file(folder / arguments[index], error)) return folder / arguments[index];
  }
  return std::nullopt;
}

/// The bundle whose own main executable is `program`, links followed, or absent.
Ref<NSBundle> bundleOfProgram(const fs::path& program) {
  std::error_code error;
  const fs::path file = fs::canonical(program, error);
  if (error) return nullptr;
  const Ref<NSBundle> bundle = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(file.string()));
  const Ref<NSString> executable = bundle ? bundle->executablePath() : nullptr;
  const bool isOwn = executable && fs::equivalent(fileSystemRepresentation(executable), file, error);
  return isOwn && !error ? bundle : nullptr;
}

}  // namespace

ProcessBundle bundleOfProcess(std::int32_t pid, const Executable& executable) {
  const Ref<NSBundle> around = NSBundle::bundleAroundExecutable(NSString::stringWithBytes(executable.path));
  if (around) return {around, false};

  // There is no sure sign of an interpreter; we go by its arguments. So a program that merely works on a bundle's own
  // executable is taken for an interpreter, too. No record ever holds a bundle that was found this way.
  const std::optional<fs::path> script = scriptOf(pid);
  const Ref<NSBundle> bundle = script ? bundleOfProgram(*script) : nullptr;
  return {bundle, bundle != nullptr};
}

}  // namespace zk
