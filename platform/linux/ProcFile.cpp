#include "linux/ProcFile.h"

#include <fcntl.h>

#include "system/FileDescriptor.h"
#include "system/ReadingAndWriting.h"
#include "system/Uninterrupted.h"

namespace zk {

std::string procFolder(std::int32_t pid) { return "/proc/" + std::to_string(pid); }

std::optional<std::string> readProcFile(const std::string& path, std::size_t mostBytes) {
  const FileDescriptor file(uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
  std::string content;
  if (!file.isOpen() || readAll(file.get(), content, mostBytes)) return std::nullopt;
  return content;
}

std::optional<std::string> readProcLink(const std::string& path) {
  std::string target;
  if (readLink({AT_FDCWD, path.c_str()}, target)) return std::nullopt;
  return target;
}

std::optional<std::string> statField(std::string_view line, std::size_t number) {
  // The second field is the program's name in parentheses, which may itself contain spaces and parentheses.
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
