#pragma once

#include "objects/NSString.h"

namespace zk {

/// The longest path that a caller may make a URL of, in bytes.
inline constexpr std::size_t kLongestPath = 4095;

/// The location of a file: an immutable absolute path. The item need not exist.
class NSURL final : public NSObject {
 public:
  /// What an enumeration has found out about the item on its way.
  enum class Findings {
    none,
    noFolder,
    plainFolder,  ///< a folder that holds none of the items that make a bundle
  };

  /// A URL of any path, unchecked: for items found inside a tree, whose paths may be longer than a caller's.
  explicit NSURL(std::string path, Findings findings = Findings::none);

  /// A URL of a path, a relative one against the current folder; trailing slashes are dropped. Absent for a path that
  /// is absent, empty, longer than kLongestPath, or holds a zero byte.
  static Ref<NSURL> fileURLWithPath(const Ref<NSString>& path);

  const Ref<NSString>& path() const { return path_; }
  Findings findings() const { return findings_; }
  /// What stands behind the last slash; the empty text for the root folder.
  Ref<NSString> lastPathComponent() const;

  /// The path with a slash and `component` added as it is. Absent when that is absent, or when fileURLWithPath would
  /// refuse the result.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component) const;
  /// `URLByAppendingPathComponent:isDirectory:`, the same; the hint makes no difference to a path here.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component, bool isDirectory) const;

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  Ref<NSString> description() const override;

 private:
  Ref<NSString> path_;
  Findings findings_;
};

}  // namespace zk
