// The input's first byte chooses a bundle's layout, the rest is the bundle's Info.plist.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "files/NSBundle.h"
#include "fuzz/Fuzzing.h"

namespace {

namespace fs = std::filesystem;
using zk::fuzz::require;

constexpr const char* kInfoPaths[] = {"Contents/Info.plist", "Resources/Info.plist", "Info.plist"};

/// A bundle of this process alone, in memory if possible.
class Bundle {
 public:
  Bundle() {
    std::error_code error;
    const fs::path shared = "/dev/shm";
    const fs::path parent = fs::is_directory(shared, error) ? shared : fs::temp_directory_path();
    path_ = parent / ("zk-bundle-fuzz-" + std::to_string(::getpid()) + ".app");
    for (const char* info : kInfoPaths) fs::create_directories((path_ / info).parent_path());
  }
  ~Bundle() {
    std::error_code error;
    fs::remove_all(path_, error);
  }
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  const fs::path& path() const { return path_; }

  void write(const char* info, std::string_view content) const {
    std::error_code error;
    for (const char* each : kInfoPaths) fs::remove(path_ / each, error);
    std::ofstream(path_ / info, std::ios::binary) << content;
  }

 private:
  fs::path path_;
};

/// Whether the path is inside the folder, found out in another way.
bool isInside(const std::string& path, const fs::path& folder) {
  const fs::path plain = fs::path(path).lexically_normal();
  const auto [folderEnd, pathEnd] = std::mismatch(folder.begin(), folder.end(), plain.begin(), plain.end());
  return folderEnd == folder.end() && path.find('\0') == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Bundle bundle;
  if (size == 0) return 0;
  const char* info = kInfoPaths[data[0] % std::size(kInfoPaths)];
  bundle.write(info, zk::fuzz::asText(data, size).substr(1));

  const auto found = zk::NSBundle::bundleWithURL(std::make_shared<zk::NSURL>(bundle.path().string()));
  require(found != nullptr);
  const zk::Ref<zk::NSString> identifier = found->bundleIdentifier();
  const zk::Ref<zk::NSString> executable = found->executablePath();
  if (executable) require(isInside(executable->bytes(), bundle.path()));

  const zk::Ref<zk::NSString> program = zk::NSString::stringWithBytes((bundle.path() / "Contents/MacOS/x").string());
  const zk::Ref<zk::NSBundle> around = zk::NSBundle::bundleAroundExecutable(program);
  require(around && around->bundleURL()->path()->bytes() == bundle.path());
  require(areEqual(around->bundleIdentifier(), identifier));
  return 0;
}
