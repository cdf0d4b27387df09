#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "objects/NSArray.h"
#include "objects/NSDictionary.h"
#include "objects/NSNumber.h"
#include "objects/NSString.h"

namespace zk {
namespace {

Ref<NSNumber> number(int value) { return NSNumber::numberWithInt(value); }

std::vector<std::string> keysOf(const NSDictionary& dictionary) {
  std::vector<std::string> keys;
  for (const NSDictionary::Entry& entry : dictionary.entries()) keys.push_back(entry.key->bytes());
  return keys;
}

TEST(NSArray, KeepsItsObjectsInOrder) {
  const Ref<NSString> first = "a"_ns;
  const Ref<NSNumber> second = number(2);
  const Ref<NSArray> array = NSArray::arrayWithObjects({first, second});
  EXPECT_EQ(array->count(), 2U);
  EXPECT_THAT(array->objects(), testing::ElementsAre(first, second));
  EXPECT_EQ(NSArray::arrayWithObjects({})->count(), 0U);
}

TEST(NSArray, IsEqualByItsObjects) {
  const Ref<NSArray> array = NSArray::arrayWithObjects({"a"_ns, number(2)});
  EXPECT_TRUE(array->isEqual(NSArray::arrayWithObjects({"a"_ns, number(2)})));
  EXPECT_EQ(array->hash(), NSArray::arrayWithObjects({"a"_ns, number(2)})->hash());
  EXPECT_FALSE(array->isEqual(NSArray::arrayWithObjects({number(2), "a"_ns})));
  EXPECT_FALSE(array->isEqual(NSArray::arrayWithObjects({"a"_ns})));
  EXPECT_FALSE(NSArray::arrayWithObjects({"a"_ns})->isEqual(array));
  EXPECT_FALSE(array->isEqual(nullptr));
  EXPECT_FALSE(array->isEqual("a"_ns));
}

TEST(NSArray, IsDistinguishedFromOtherObjects) {
  const Ref<NSArray> array = NSArray::arrayWithObjects({});
  EXPECT_EQ(asArray(array), array);
  EXPECT_FALSE(asArray("a"_ns));
  EXPECT_FALSE(asArray(nullptr));
}

TEST(NSDictionary, FindsTheObjectUnderAKey) {
  const Ref<NSDictionary> dictionary =
      NSDictionary::dictionaryWithEntries({{"b"_ns, number(2)}, {"a"_ns, number(1)}, {""_ns, number(0)}});
  EXPECT_EQ(dictionary->count(), 3U);
  EXPECT_TRUE(areEqual(dictionary->objectForKey("a"_ns), number(1)));
  EXPECT_TRUE(areEqual(dictionary->objectForKey("b"_ns), number(2)));
  EXPECT_TRUE(areEqual(dictionary->objectForKey(""_ns), number(0)));
  EXPECT_FALSE(dictionary->objectForKey("A"_ns));
  EXPECT_FALSE(dictionary->objectForKey("aa"_ns));
  EXPECT_FALSE(dictionary->objectForKey("c"_ns));
  EXPECT_FALSE(dictionary->objectForKey(nullptr));
}

TEST(NSDictionary, FindsNothingWhenEmpty) {
  EXPECT_FALSE(std::make_shared<NSDictionary>()->objectForKey("a"_ns));
  EXPECT_EQ(NSDictionary::dictionaryWithEntries({})->count(), 0U);
}

TEST(NSDictionary, SortsEntriesByTheBytesOfTheirKeys) {
  const Ref<NSDictionary> dictionary = NSDictionary::dictionaryWithEntries(
      {{"b"_ns, number(1)}, {"\u00E9"_ns, number(2)}, {"B"_ns, number(3)}, {"ba"_ns, number(4)}});
  EXPECT_THAT(keysOf(*dictionary), testing::ElementsAre("B", "b", "ba", "\u00E9"));
}

TEST(NSDictionary, TakesTheLastOfEqualKeys) {
  const Ref<NSDictionary> dictionary = NSDictionary::dictionaryWithEntries(
      {{"a"_ns, number(1)}, {"b"_ns, number(2)}, {"a"_ns, number(3)}, {"c"_ns, number(4)}, {"a"_ns, number(5)}});
  EXPECT_THAT(keysOf(*dictionary), testing::ElementsAre("a", "b", "c"));
  EXPECT_TRUE(areEqual(dictionary->objectForKey("a"_ns), number(5)));
}

TEST(NSDictionary, IsEqualByKeysAndObjects) {
  const auto of = &NSDictionary::dictionaryWithEntries;
  const Ref<NSDictionary> dictionary = of({{"a"_ns, number(1)}, {"b"_ns, number(2)}});
  EXPECT_TRUE(dictionary->isEqual(of({{"b"_ns, number(2)}, {"a"_ns, number(1)}})));
  EXPECT_EQ(dictionary->hash(), of({{"b"_ns, number(2)}, {"a"_ns, number(1)}})->hash());
  EXPECT_FALSE(dictionary->isEqual(of({{"a"_ns, number(1)}, {"b"_ns, number(3)}})));
  EXPECT_FALSE(dictionary->isEqual(of({{"a"_ns, number(1)}, {"c"_ns, number(2)}})));
  EXPECT_FALSE(dictionary->isEqual(of({{"a"_ns, number(1)}})));
  EXPECT_FALSE(dictionary->isEqual(nullptr));
  EXPECT_FALSE(dictionary->isEqual("a"_ns));
}

TEST(NSDictionary, IsDistinguishedFromOtherObjects) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionaryWithCapacity(0);
  EXPECT_EQ(asDictionary(dictionary), dictionary);
  EXPECT_FALSE(asDictionary("a"_ns));
  EXPECT_FALSE(asDictionary(nullptr));
}

TEST(NSMutableDictionary, TakesEntriesInAnyOrder) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionaryWithCapacity(2);
  EXPECT_EQ(dictionary->count(), 0U);
  for (const char* key : {"m", "a", "z", "k"}) dictionary->setObject(number(*key), NSString::stringWithUTF8String(key));
  EXPECT_THAT(keysOf(*dictionary), testing::ElementsAre("a", "k", "m", "z"));
  EXPECT_TRUE(areEqual(dictionary->objectForKey("k"_ns), number('k')));
}

TEST(NSMutableDictionary, ReplacesTheObjectUnderAKey) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionaryWithCapacity(0);
  dictionary->setObject(number(1), "a"_ns);
  dictionary->setObject(number(2), "a"_ns);
  EXPECT_EQ(dictionary->count(), 1U);
  EXPECT_TRUE(areEqual(dictionary->objectForKey("a"_ns), number(2)));
}

TEST(NSMutableDictionary, IsEqualToAnImmutableOneWithTheSameEntries) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionaryWithCapacity(1);
  dictionary->setObject(number(1), "a"_ns);
  EXPECT_TRUE(NSDictionary::dictionaryWithEntries({{"a"_ns, number(1)}})->isEqual(dictionary));
}

TEST(NSMutableDictionary, IsAbsentWithoutMemoryForItsRoom) {
  EXPECT_FALSE(NSMutableDictionary::dictionaryWithCapacity(std::numeric_limits<std::size_t>::max()));
}

}  // namespace
}  // namespace zk
