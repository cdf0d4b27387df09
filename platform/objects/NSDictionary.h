#pragma once

#include <vector>

#include "objects/NSObject.h"
#include "objects/NSString.h"

namespace zk {

/// A dictionary from texts to objects, none of them absent. Its entries are sorted by the bytes of their keys. A
/// look-up is a binary search, which no choice of keys can slow down.
class NSDictionary : public NSObject {
 public:
  /// A key and what is under it.
  struct Entry {
    Ref<NSString> key;     ///< never absent
    Ref<NSObject> object;  ///< never absent
  };

  /// An empty dictionary.
  NSDictionary() = default;

  /// A dictionary of `entries`, given in any order. If a key is given twice, the last one wins.
  static Ref<NSDictionary> dictionaryWithEntries(std::vector<Entry> entries);

  /// The object under `key` (may be absent), or absent.
  Ref<NSObject> objectForKey(const Ref<NSString>& key) const;

  /// All entries, sorted by the bytes of their keys. They belong to the dictionary.
  const std::vector<Entry>& entries() const { return entries_; }
  /// The number of entries.
  std::size_t count() const { return entries_.size(); }

  bool isEqual(const Ref<NSObject>& object) const override;
  std::size_t hash() const override { return entries_.size(); }

 protected:
  std::vector<Entry> entries_;  ///< sorted by the bytes of their keys
};

/// A dictionary that entries can be added to.
class NSMutableDictionary final : public NSDictionary {
 public:
  /// An empty dictionary with room for `capacity` entries, or absent if there is no memory for it.
  static Ref<NSMutableDictionary> dictionaryWithCapacity(std::size_t capacity);

  /// `setObject:forKey:`: puts `object` under `forKey`, replacing what was there. Neither may be absent.
  void setObject(const Ref<NSObject>& object, const Ref<NSString>& forKey);
};

/// The object as a dictionary; absent if it is absent or not a dictionary.
Ref<NSDictionary> asDictionary(const Ref<NSObject>& object);

}  // namespace zk
