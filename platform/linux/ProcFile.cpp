#include "linux/ProcFile.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>

#include "posix/FileDescriptor.h"
#include "posix/Uninterrupted.h"

namespace zk {

std::string procFolder(std::int32_t pid) { return "/proc/" + std::to_string(pid); }

std::optional<std::string> readProcFile(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return std::nullopt;
  std::string content;
  char part[4096];
  while (true) {
    const ssize_t count = uninterrupted([&] { return ::read(file.get(), part, sizeof part); });
    if (count < 0) return std::nullopt;
    if (count == 0) return content;
    content.append(part, static_cast<std::size_t>(count));
  }
}

std::optional<std::string> readLink(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t count = ::readlink(path.c_str(), target, sizeof target);
  if (count < 0) return std::nullopt;
  return std::string(target, static_cast<std::size_t>(count));
}

std::optional<std::string> statField(std::string_view line, std::size_t number) {
  // The second field is the program's name in brackets, which may itself hold blanks and brackets.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string_view::npos) return std::nullopt;
  std::string_view rest = line.substr(nameEnd + 1);
  std::string_view field;
  for (std::size_t current = kStatState; current <= number; ++current) {
    const std::size_t begin = rest.find_first_not_of(" \n");
    if (begin == std::string_view::npos) return std::nullopt;
    rest.remove_prefix(begin);
    field = rest.substr(0, rest.find_first_of(" \n"));
    rest.remove_prefix(field.size());
  }
  return std::string(field);
}

}  // namespace zk
