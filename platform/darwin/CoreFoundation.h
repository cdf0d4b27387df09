#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "darwin/Declarations.h"

namespace zk::darwin {

/// Owns one object of Core Foundation, or none, and releases it.
class OwnedObject {
 public:
  OwnedObject(const CoreFoundationFunctions& foundation, Object object) : foundation_(&foundation), object_(object) {}
  OwnedObject(OwnedObject&& other) noexcept
      : foundation_(other.foundation_), object_(std::exchange(other.object_, nullptr)) {}
  OwnedObject& operator=(OwnedObject&& other) noexcept {
    std::swap(foundation_, other.foundation_);
    std::swap(object_, other.object_);
    return *this;
  }
  ~OwnedObject() {
    if (object_ != nullptr) foundation_->CFRelease(object_);
  }

  Object get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  const CoreFoundationFunctions* foundation_;
  Object object_;
};

/// A new CFString; none if `text` is not valid UTF-8 or there is no memory.
OwnedObject makeText(const CoreFoundationFunctions& foundation, std::string_view text);

/// The UTF-8 bytes of a CFString; nothing for null and for an object of another type.
std::optional<std::string> textOf(const CoreFoundationFunctions& foundation, Object object);

/// The decomposed form of a text that file calls expect. The bytes as they are if the system knows no such form of them,
/// or `foundation` is null.
std::string fileSystemForm(const CoreFoundationFunctions* foundation, std::string_view text);

/// The languages in the user's preferences, the most wanted first; none if `foundation` is null.
std::vector<std::string> preferredLanguages(const CoreFoundationFunctions* foundation);

}  // namespace zk::darwin
