#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "files/NSFileManager.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

/// A delegate that records what it is asked.
class RecordingDelegate : public NSFileManagerDelegate {
 public:
  using Question = std::pair<std::string, std::string>;  ///< the paths of source and destination

  bool fileManager(NSFileManager& fileManager, const Ref<NSURL>& shouldCopyItemAtURL, const Ref<NSURL>& toURL) override;
  bool fileManager(NSFileManager& fileManager, const Ref<NSError>& shouldProceedAfterError,
                   const Ref<NSURL>& copyingItemAtURL, const Ref<NSURL>& toURL) override;

  /// Decides whether an item is copied. If a test leaves it empty, every item is.
  std::function<bool(NSFileManager&, const std::string& source, const Ref<NSURL>& destination)> shouldCopy;
  bool proceeds = false;

  std::vector<Question> questions;
  std::vector<Question> failures;
  std::vector<long> codes;  ///< of the failures
};

/// The outcome of a copy or a removal.
struct Outcome {
  bool succeeded = false;
  Ref<NSError> error;

  /// The error's code, 0 without one.
  long code() const { return error ? error->code() : 0; }
  /// The path in the error, "" without one.
  std::string path() const;
};

Outcome copyItem(const std::filesystem::path& from, const std::filesystem::path& to,
                 NSFileManagerDelegate* delegate = nullptr);
Outcome removeItem(const std::filesystem::path& path);

using Modes = std::initializer_list<mode_t>;

/// The mode bits that an item needs for the user who runs the tests to copy its contents; none for root.
mode_t readable();

/// The status of the item itself, links not followed; all zero, and a failed expectation, if there is none.
struct stat statusOf(const std::filesystem::path& path);
/// The mode of the item, without its type.
mode_t modeOf(const std::filesystem::path& path);
void setMode(const std::filesystem::path& path, mode_t mode);
/// Sets the times of the item itself.
void setTimes(const std::filesystem::path& path, struct timespec accessed, struct timespec modified);
bool isThere(const std::filesystem::path& path);

/// The bytes of an ACL that gives user 1234 `permissions` (a digit 0 to 7) besides the mode rwxr-x---, as the
/// attributes system.posix_acl_... hold them.
std::string accessListBytes(unsigned permissions);

/// How many descriptors this process has open.
std::size_t openDescriptors();

/// Runs `body` in a child process without privileges. If the tests run as root, the child becomes another user, who is
/// first given `folder`.
/// @return the child's exit status
int statusUnprivileged(const TemporaryFolder& folder, const std::function<void()>& body);

}  // namespace zk::test
