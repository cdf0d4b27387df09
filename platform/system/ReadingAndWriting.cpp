#include "system/ReadingAndWriting.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "system/Uninterrupted.h"

namespace zk {

namespace {

constexpr std::size_t kLeastRoom = 4096;
constexpr std::size_t kUsualLinkLength = 256;

/// How much to read at first: one byte more than the file claims to hold, so that its end is found without a larger
/// buffer.
std::size_t firstRoom(int descriptor) {
  struct stat file;
  if (::fstat(descriptor, &file) != 0 || file.st_size <= 0) return kLeastRoom;
  return static_cast<std::size_t>(file.st_size) + 1;
}

}  // namespace

SystemError readAll(int descriptor, std::string& content, std::size_t mostBytes) {
  content.resize(std::min(firstRoom(descriptor), std::max(mostBytes, mostBytes + 1)));
  std::size_t filled = 0;
  while (true) {
    if (filled == content.size()) content.resize(content.size() * 2);
    const ssize_t count =
        uninterrupted([&] { return ::read(descriptor, content.data() + filled, content.size() - filled); });
    if (count < 0) return lastError();
    filled += static_cast<std::size_t>(count);
    if (filled > mostBytes) return SystemError(EFBIG);
    if (count > 0) continue;
    content.resize(filled);
    return {};
  }
}

SystemError writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count < 0) return lastError();
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

SystemError readLink(Item link, std::string& target) {
  // File systems do not always report the true length of a link, so a full buffer may mean that there is more.
  target.resize(kUsualLinkLength);
  while (true) {
    const ssize_t count = ::readlinkat(link.descriptor, link.name, target.data(), target.size());
    if (count < 0) return lastError();
    if (static_cast<std::size_t>(count) < target.size()) {
      target.resize(static_cast<std::size_t>(count));
      return {};
    }
    target.resize(target.size() * 2);
  }
}

}  // namespace zk
