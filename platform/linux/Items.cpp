#include <dirent.h>
#include <fcntl.h>

#include <array>

#include "system/Port.h"
#include "system/Uninterrupted.h"

namespace zk {

// Names on disk are plain bytes here.
std::string port::fileSystemRepresentation(std::string_view text) { return std::string(text); }

int port::flagsToSearch() { return O_PATH; }

timespec port::accessTime(const struct stat& status) { return status.st_atim; }
timespec port::modificationTime(const struct stat& status) { return status.st_mtim; }

// Not by readdir(): its stream takes three to five more calls for each folder.
SystemError port::readEntries(int folder, std::vector<Entry>& entries) {
  alignas(dirent64) std::array<char, std::size_t{32} * 1024> buffer;
  while (true) {
    const ssize_t size = uninterrupted([&] { return ::getdents64(folder, buffer.data(), buffer.size()); });
    // A folder that was removed holds nothing.
    if (size < 0) return errno == ENOENT ? SystemError() : lastError();
    if (size == 0) return {};
    for (const char* next = buffer.data(); next < buffer.data() + size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(next);
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") {
        entries.push_back({std::string(name), static_cast<mode_t>(DTTOIF(entry->d_type))});
      }
      next += entry->d_reclen;
    }
  }
}

}  // namespace zk
