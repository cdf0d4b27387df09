#pragma once

#include <string>
#include <string_view>

#include "objects/NSObject.h"

namespace zk {

class NSURL;

/// The largest file that is read as a whole, in bytes. What this system reads whole (process-info files, Info.plist,
/// translations) is far smaller; a larger file there is a mistake or an attack.
inline constexpr std::size_t kLargestFileReadWhole = std::size_t{16} << 20;

/// Immutable bytes.
class NSData final : public NSObject {
 public:
  explicit NSData(std::string bytes) : bytes_(std::move(bytes)) {}

  static Ref<NSData> dataWithBytes(std::string_view bytes);

  /// The content of the regular file at `url`, links followed. Absent when it is no regular file (a FIFO or a device is
  /// not waited for), cannot be read, or is larger than kLargestFileReadWhole.
  static Ref<NSData> dataWithContentsOfURL(const Ref<NSURL>& url);

  /// Writes the bytes to the file at `url`, mode 0666 less the umask. With `atomically` a reader sees the old whole
  /// file or the new one, and a failure leaves the old one and nothing else; without, the file is emptied and written.
  /// False on any failure.
  bool writeToURL(const Ref<NSURL>& url, bool atomically) const;

  const std::string& bytes() const { return bytes_; }
  std::size_t length() const { return bytes_.size(); }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;

 private:
  std::string bytes_;
};

/// The object as data, or absent when it is absent or no data.
Ref<NSData> asData(const Ref<NSObject>& object);

}  // namespace zk
