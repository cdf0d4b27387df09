#pragma once

#include <span>
#include <variant>
#include <vector>

#include "objects/NSObject.h"

namespace zk {

/// An immutable list of objects, none of them absent.
class NSArray final : public NSObject {
 public:
  explicit NSArray(std::vector<Ref<NSObject>> objects) : objects_(std::move(objects)) {}
  explicit NSArray(Ref<NSObject> object) : objects_(std::move(object)) {}

  static Ref<NSArray> arrayWithObjects(std::vector<Ref<NSObject>> objects);

  /// Valid as long as the list.
  std::span<const Ref<NSObject>> objects() const;
  std::size_t count() const { return objects().size(); }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override { return count(); }

 private:
  /// The only object needs no room beside the list: two bytes of a document can put a list around an object.
  std::variant<Ref<NSObject>, std::vector<Ref<NSObject>>> objects_;
};

/// The object as a list, or absent when it is absent or no list.
Ref<NSArray> asArray(const Ref<NSObject>& object);

}  // namespace zk
