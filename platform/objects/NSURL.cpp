#include "objects/NSURL.h"

namespace zk {

const Ref<NSString> NSURLIsPackageKey = "NSURLIsPackageKey"_ns;

NSURL::NSURL(std::string path) : path_(std::make_shared<NSString>(std::move(path))) {}

Ref<NSString> NSURL::lastPathComponent() const { return path_->substringFromIndex(path_->bytes().rfind('/') + 1); }

Ref<NSURL> NSURL::URLByAppendingPathComponent(const Ref<NSString>& component) const {
  const std::string& folder = path_->bytes();
  const std::string slash = folder.ends_with('/') ? "" : "/";
  return fileURLWithPath(NSString::stringWithBytes(folder + slash + component->bytes()));
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

std::string_view pathExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string_view nameWithoutExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace zk
