#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "system/FileDescriptor.h"

namespace zk::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  std::string pattern = fs::temp_directory_path() / "zk-test-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = fs::canonical(pattern);
}

TemporaryFolder::~TemporaryFolder() {
  // A test may leave folders that their owner cannot write to.
  std::error_code error;
  for (fs::recursive_directory_iterator item(path_, error), end; !error && item != end; item.increment(error)) {
    if (item->is_directory(error) && !item->is_symlink(error)) {
      fs::permissions(item->path(), fs::perms::owner_all, fs::perm_options::add, error);
    }
  }
  fs::remove_all(path_, error);
  EXPECT_FALSE(error) << path_ << " is left behind: " << error.message();
}

Ref<NSURL> TemporaryFolder::url() const { return std::make_shared<NSURL>(path_.string()); }

Ref<NSURL> TemporaryFolder::url(std::string_view name) const {
  return std::make_shared<NSURL>((path_ / name).string());
}

void writeFile(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

void makeSocket(const fs::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.string().copy(address.sun_path, sizeof address.sun_path), sizeof address.sun_path) << path;
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << path;
}

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path << " cannot be read";
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace zk::test
