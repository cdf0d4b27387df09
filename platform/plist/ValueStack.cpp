#include "plist/ValueStack.h"

#include <algorithm>
#include <iterator>

namespace zk {

Ref<NSArray> ValueStack::takeArray(std::size_t first) {
  if (first == objects_.size()) {
    if (!emptyArray_) emptyArray_ = NSArray::arrayWithObjects({});
    return emptyArray_;
  }
  const auto begin = objects_.begin() + static_cast<std::ptrdiff_t>(first);
  std::vector<Ref<NSObject>> objects(std::make_move_iterator(begin), std::make_move_iterator(objects_.end()));
  objects_.resize(first);
  return NSArray::arrayWithObjects(std::move(objects));
}

Ref<NSDictionary> ValueStack::takeDictionary(std::size_t first, const std::vector<bool>& isKeyAlone) {
  if (first == objects_.size()) {
    if (!emptyDictionary_) emptyDictionary_ = NSDictionary::dictionaryWithEntries({});
    return emptyDictionary_;
  }
  const auto keysAlone = static_cast<std::size_t>(std::count(isKeyAlone.begin(), isKeyAlone.end(), true));
  std::vector<NSDictionary::Entry> entries;
  entries.reserve((objects_.size() - first + keysAlone) / 2);
  for (std::size_t place = first; place < objects_.size();) {
    const bool isAlone = entries.size() < isKeyAlone.size() && isKeyAlone[entries.size()];
    const auto key = std::static_pointer_cast<NSString>(std::move(objects_[place++]));
    entries.push_back({key, isAlone ? key : std::move(objects_[place++])});
  }
  objects_.resize(first);
  return NSDictionary::dictionaryWithEntries(std::move(entries));
}

}  // namespace zk
