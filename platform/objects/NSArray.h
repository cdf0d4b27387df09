#pragma once

#include <vector>

#include "objects/NSObject.h"

namespace zk {

/// An immutable list of objects, none of them absent.
class NSArray final : public NSObject {
 public:
  explicit NSArray(std::vector<Ref<NSObject>> objects) : objects_(std::move(objects)) {}

  static Ref<NSArray> arrayWithObjects(std::vector<Ref<NSObject>> objects);

  const std::vector<Ref<NSObject>>& objects() const { return objects_; }
  std::size_t count() const { return objects_.size(); }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override { return count(); }

 private:
  std::vector<Ref<NSObject>> objects_;
};

/// The object as a list; absent if it is absent or not a list.
Ref<NSArray> asArray(const Ref<NSObject>& object);

}  // namespace zk
