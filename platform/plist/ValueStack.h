#pragma once

#include <deque>
#include <vector>

#include "objects/NSArray.h"
#include "objects/NSDictionary.h"

namespace zk {

/// The contents of the containers that a reader has begun and not finished. A container's contents are the objects
/// above the place where the stack stood when it began.
///
/// The text forms take as little as two bytes for an object, so its room in memory is what limits how small a document
/// can grow how large: the stack grows without ever holding its contents twice, the containers get exactly the room
/// they need, and all empty ones of a kind are one object.
class ValueStack {
 public:
  std::size_t count() const { return objects_.size(); }
  void push(Ref<NSObject> object) { objects_.push_back(std::move(object)); }

  /// Takes what is above `first` as a list.
  Ref<NSArray> takeArray(std::size_t first);

  /// Takes what is above `first` as a dictionary: each key, a text, is followed by its object, except where
  /// `isKeyAlone` tells for that entry that the key is its own object. Of a key given twice the last wins.
  Ref<NSDictionary> takeDictionary(std::size_t first, const std::vector<bool>& isKeyAlone = {});

 private:
  std::deque<Ref<NSObject>> objects_;
  Ref<NSArray> emptyArray_;
  Ref<NSDictionary> emptyDictionary_;
};

}  // namespace zk
