#include "support/TreeDescription.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iomanip>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "support/System.h"
#include "system/FileDescriptor.h"
#include "system/Port.h"

namespace zk::test {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const fs::path& path) { throw std::runtime_error("cannot describe " + path.string()); }

std::string hexOf(const std::string& bytes) {
  std::ostringstream hex;
  hex << std::hex << std::setfill('0');
  for (const char byte : bytes) hex << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(byte));
  return hex.str();
}

std::string attributesOf(const fs::path& path) {
  std::string text;
  for (const std::string& name : attributeNames(path)) {
    const std::optional<std::string> value = attributeOf(path, name.c_str());
    if (!value) fail(path);
    text += " " + name + "=" + hexOf(*value);
  }
  return text;
}

/// Appends to `text` each block of `bytes` that is not all zeros, after its offset in the file. `bytes` begin at
/// `offset`.
void describeBlocks(std::string_view bytes, off_t offset, std::string& text) {
  constexpr std::size_t kBlock = 4096;
  while (!bytes.empty()) {
    const std::string_view block = bytes.substr(0, kBlock - static_cast<std::size_t>(offset) % kBlock);
    if (block.find_first_not_of('\0') != std::string_view::npos) {
      text += " at " + std::to_string(offset) + ": ";
      text += block;
    }
    bytes.remove_prefix(block.size());
    offset += static_cast<off_t>(block.size());
  }
}

/// The bytes of a file. A hole and zeros look the same here, since it is up to the file system what becomes a hole.
std::string contentsOf(const fs::path& path, off_t size) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) fail(path);
  std::string text = std::to_string(size) + " bytes";
  for (off_t end = 0, begin; (begin = ::lseek(file.get(), end, SEEK_DATA)) >= 0;) {
    end = ::lseek(file.get(), begin, SEEK_HOLE);
    std::string bytes(static_cast<std::size_t>(end - begin), '\0');
    if (::pread(file.get(), bytes.data(), bytes.size(), begin) != end - begin) fail(path);
    describeBlocks(bytes, begin, text);
  }
  return text;
}

std::string describeItem(const fs::path& path, const struct stat& item) {
  const timespec modified = port::modificationTime(item);
  std::ostringstream text;
  text << std::oct << item.st_mode << std::dec << " " << item.st_uid << ":" << item.st_gid << " " << modified.tv_sec
       << "." << std::setw(9) << std::setfill('0') << modified.tv_nsec << attributesOf(path) << " ";
  if (S_ISLNK(item.st_mode)) text << fs::read_symlink(path).string();
  if (S_ISREG(item.st_mode)) text << contentsOf(path, item.st_size);
  return text.str();
}

class Describer {
 public:
  explicit Describer(const fs::path& top) : top_(top) { describe(""); }

  TreeDescription description;

 private:
  void describe(const std::string& name) {
    const fs::path path = name.empty() ? top_ : top_ / name;
    struct stat item;
    if (::lstat(path.c_str(), &item) != 0) fail(path);
    std::string text = describeItem(path, item);
    if (!S_ISDIR(item.st_mode) && item.st_nlink > 1) {
      text += " same as " + firstNames_.emplace(std::pair(item.st_dev, item.st_ino), name).first->second;
    }
    description.emplace(name, std::move(text));
    if (!S_ISDIR(item.st_mode)) return;

    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) names.insert(entry.path().filename());
    for (const std::string& below : names) describe(fs::path(name) / below);
  }

  const fs::path top_;
  std::map<std::pair<dev_t, ino_t>, std::string> firstNames_;
};

}  // namespace

TreeDescription describeTree(const fs::path& top) { return Describer(top).description; }

}  // namespace zk::test
