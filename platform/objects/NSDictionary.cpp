#include "objects/NSDictionary.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <stdexcept>

namespace zk {

namespace {

bool hasSmallerKey(const NSDictionary::Entry& left, const NSDictionary::Entry& right) {
  return left.key->bytes() < right.key->bytes();
}

bool isBefore(const NSDictionary::Entry& entry, const Ref<NSString>& key) { return entry.key->bytes() < key->bytes(); }

bool holdsKey(const NSDictionary::Entry& entry, const Ref<NSString>& key) { return entry.key->bytes() == key->bytes(); }

bool areEntriesEqual(const NSDictionary::Entry& left, const NSDictionary::Entry& right) {
  return holdsKey(left, right.key) && areEqual(left.object, right.object);
}

}  // namespace

Ref<NSDictionary> NSDictionary::dictionaryWithEntries(std::vector<Entry> entries) {
  std::stable_sort(entries.begin(), entries.end(), hasSmallerKey);
  // Of equal keys the last is kept: unique() keeps the first of each run, so it runs from the back.
  const auto firstKept = std::unique(entries.rbegin(), entries.rend(),
                                     [](const Entry& left, const Entry& right) { return holdsKey(left, right.key); });

  auto dictionary = std::make_shared<NSDictionary>();
  dictionary->entries_.assign(std::make_move_iterator(firstKept.base()), std::make_move_iterator(entries.end()));
  return dictionary;
}

Ref<NSObject> NSDictionary::objectForKey(const Ref<NSString>& key) const {
  if (!key) return nullptr;
  const auto place = std::lower_bound(entries_.begin(), entries_.end(), key, isBefore);
  return place != entries_.end() && holdsKey(*place, key) ? place->object : nullptr;
}

bool NSDictionary::isEqual(const Ref<NSObject>& object) const {
  const auto other = dynamic_cast<const NSDictionary*>(object.get());
  return other != nullptr &&
         std::equal(entries_.begin(), entries_.end(), other->entries_.begin(), other->entries_.end(), areEntriesEqual);
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithCapacity(std::size_t capacity) {
  try {
    auto dictionary = std::make_shared<NSMutableDictionary>();
    dictionary->entries_.reserve(capacity);
    return dictionary;
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const std::length_error&) {
    return nullptr;
  }
}

void NSMutableDictionary::setObject(const Ref<NSObject>& object, const Ref<NSString>& forKey) {
  const auto place = std::lower_bound(entries_.begin(), entries_.end(), forKey, isBefore);
  if (place != entries_.end() && holdsKey(*place, forKey)) {
    place->object = object;
  } else {
    entries_.insert(place, {forKey, object});
  }
}

Ref<NSDictionary> asDictionary(const Ref<NSObject>& object) { return std::dynamic_pointer_cast<NSDictionary>(object); }

}  // namespace zk
