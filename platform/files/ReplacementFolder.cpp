#include "files/ReplacementFolder.h"

#include <fcntl.h>

#include "files/Folder.h"
#include "files/ItemCopy.h"
#include "files/RandomName.h"

namespace zk {

namespace {

constexpr std::size_t kLongestName = 255;
constexpr std::size_t kDigits = 16;
constexpr int kMostAttempts = 100;

/// The first `size` bytes of `name`, or fewer, so that no UTF-8 character is cut.
std::string cutToSize(std::string name, std::size_t size) {
  if (name.size() <= size) return name;
  while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) --size;
  name.resize(size);
  return name;
}

}  // namespace

std::string replacementPrefix(const std::string& name) {
  const std::size_t room = kLongestName - kDigits - 2;  // for a dot and a hyphen
  return "." + cutToSize(name, room) + "-";
}

SystemError makeReplacementFolder(const ItemPath& item, std::string& name) {
  FileDescriptor parent;
  if (const auto error = openFolderToSearch({AT_FDCWD, item.folder.c_str()}, Links::followed, parent)) return error;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    std::string digits;
    if (const auto error = makeRandomDigits(digits)) return error;
    name = replacementPrefix(item.name) + digits;

    FileDescriptor made;
    const auto error = makePrivateFolder({parent.get(), name.c_str()}, Surroundings::shared, made);
    if (!error.is(EEXIST)) return error;
  }
  return SystemError(EEXIST);
}

}  // namespace zk
