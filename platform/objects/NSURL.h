#pragma once

#include "objects/NSString.h"

namespace zk {

/// The longest path that fileURLWithPath() accepts, in bytes.
inline constexpr std::size_t kLongestPath = 4095;

/// The location of a file: an immutable absolute path. The item need not exist.
class NSURL final : public NSObject {
 public:
  /// What an enumeration has learned about the item.
  enum class Findings {
    none,         ///< nothing
    noFolder,     ///< it is no folder
    plainFolder,  ///< a folder that holds none of the items that make a bundle
  };

  /// A URL for any path, unchecked: the paths of items found inside a tree may be longer than kLongestPath.
  explicit NSURL(std::string path, Findings findings = Findings::none);

  /// A URL for `path`. A relative path starts from the current folder; trailing slashes are dropped. Absent if the path
  /// is absent, empty, longer than kLongestPath, or holds a zero byte.
  static Ref<NSURL> fileURLWithPath(const Ref<NSString>& path);

  /// The path. Never absent.
  const Ref<NSString>& path() const { return path_; }
  /// What the enumeration that yielded this URL has learned.
  Findings findings() const { return findings_; }
  /// What follows the last slash of the path; the empty text for the root folder.
  Ref<NSString> lastPathComponent() const;

  /// The path with a slash and the unchanged `component` added. Absent if `component` is absent, or if fileURLWithPath
  /// would refuse the result.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component) const;
  /// `URLByAppendingPathComponent:isDirectory:`: the same; the hint makes no difference to a path here.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component, bool isDirectory) const;

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;
  Ref<NSString> description() const override;

 private:
  Ref<NSString> path_;
  Findings findings_;
};

}  // namespace zk
