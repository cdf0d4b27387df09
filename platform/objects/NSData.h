#pragma once

#include <string>
#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// Immutable bytes.
class NSData final : public NSObject {
 public:
  explicit NSData(std::string bytes) : bytes_(std::move(bytes)) {}

  static Ref<NSData> dataWithBytes(std::string_view bytes);

  const std::string& bytes() const { return bytes_; }
  std::size_t length() const { return bytes_.size(); }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override;

 private:
  std::string bytes_;
};

/// The object as data; absent if it is absent or not data.
Ref<NSData> asData(const Ref<NSObject>& object);

}  // namespace zk
