#include "objects/NSURL.h"

#include <unistd.h>

#include <memory>

#include "objects/Path.h"

namespace zk {

NSURL::NSURL(std::string path, Findings findings)
    : path_(std::make_shared<NSString>(std::move(path))), findings_(findings) {}

Ref<NSURL> NSURL::fileURLWithPath(const Ref<NSString>& path) {
  if (length(path) == 0 || path->bytes().find('\0') != std::string::npos) return nullptr;

  std::string absolute = path->bytes();
  if (absolute.front() != '/') {
    char current[kLongestPath + 1];
    if (::getcwd(current, sizeof current) == nullptr) return nullptr;
    absolute = joinedPath(current, absolute);
  }
  absolute.resize(withoutTrailingSlashes(absolute).size());
  if (absolute.size() > kLongestPath) return nullptr;
  return std::make_shared<NSURL>(std::move(absolute));
}

Ref<NSString> NSURL::lastPathComponent() const { return NSString::stringWithBytes(lastName(path_->bytes())); }

Ref<NSURL> NSURL::URLByAppendingPathComponent(const Ref<NSString>& component) const {
  if (!component) return nullptr;
  return fileURLWithPath(NSString::stringWithBytes(joinedPath(path_->bytes(), component->bytes())));
}

Ref<NSURL> NSURL::URLByAppendingPathComponent(const Ref<NSString>& component, bool /*isDirectory*/) const {
  return URLByAppendingPathComponent(component);
}

bool NSURL::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSURL*>(object.get());
  return other != nullptr && other->path_->bytes() == path_->bytes();
}

std::size_t NSURL::hash() const { return path_->hash(); }

Ref<NSString> NSURL::description() const { return path_; }

}  // namespace zk
