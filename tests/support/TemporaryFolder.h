#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "objects/NSURL.h"

namespace zk::test {

/// A new folder, removed with everything in it when the object ends.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
  Ref<NSURL> url() const;
  Ref<NSURL> url(std::string_view name) const;

 private:
  std::filesystem::path path_;
};

/// Writes a file, making the folders above it.
void writeFile(const std::filesystem::path& path, std::string_view content);
/// Makes a socket, an item that cannot be copied.
void makeSocket(const std::filesystem::path& path);
/// The content of a file; a failed expectation and "" if it cannot be read.
std::string readFile(const std::filesystem::path& path);

}  // namespace zk::test
