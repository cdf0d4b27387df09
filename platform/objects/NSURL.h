#pragma once

#include <string_view>

#include "objects/NSNumber.h"
#include "objects/NSString.h"

namespace zk {

/// Property of an item: whether it is a package, a folder that is shown to people as one file. A boolean number.
extern const Ref<NSString> NSURLIsPackageKey;

/// The longest path that a caller may make a URL of, in bytes.
inline constexpr std::size_t kLongestPath = 4095;

/// The location of a file: an immutable absolute path. The item need not exist.
class NSURL final : public NSObject {
 public:
  /// A URL of any path, unchecked: for items found inside a tree, whose paths may be longer than a caller's.
  explicit NSURL(std::string path);

  /// A URL of a path, a relative one against the current folder; trailing slashes are dropped. Absent for a path that
  /// is absent, empty, longer than kLongestPath, or holds a zero byte.
  static Ref<NSURL> fileURLWithPath(const Ref<NSString>& path);

  Ref<NSString> path() const { return path_; }
  /// What stands behind the last slash; the empty text for the root folder.
  Ref<NSString> lastPathComponent() const;

  /// The path with a slash and `component` behind it, inserted as it stands. Absent when fileURLWithPath would refuse
  /// the result. The hint that the item is a folder makes no difference to a path here.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component) const;
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component, bool isDirectory) const;

  /// Reads a property of the item itself (a link is not followed); NSURLIsPackageKey is the only one known.
  /// @return whether it could be read; only then `value` is written.
  bool getResourceValue(Ref<NSNumber>& value, const Ref<NSString>& forKey) const;

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  Ref<NSString> description() const override;

 private:
  Ref<NSString> path_;
};

/// The name's part behind its last dot, without the dot; empty when there is no dot or nothing stands before it.
std::string_view pathExtension(std::string_view name);
/// The name without its extension and the dot before it.
std::string_view nameWithoutExtension(std::string_view name);

}  // namespace zk
