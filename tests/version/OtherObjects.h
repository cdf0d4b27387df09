#pragma once

#include "objects/NSObject.h"

namespace zk::test {

/// An object that is not a version, a number or a text, and does not read as a number.
class PlainObject final : public NSObject {
 public:
  PlainObject() = default;
};

/// An object that is not a number or a text, but reads as a number.
class CountingObject final : public NSObject {
 public:
  explicit CountingObject(std::uint64_t count) : count_(count) {}
  std::optional<std::uint64_t> unsignedLongLongValue() const override { return count_; }

 private:
  std::uint64_t count_;
};

}  // namespace zk::test
