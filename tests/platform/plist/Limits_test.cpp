#include <gtest/gtest.h>

#include "objects/NSArray.h"
#include "platform/plist/BinaryDocument.h"
#include "plist/BinaryWriter.h"
#include "plist/NSPropertyListSerialization.h"
#include "support/Memory.h"

namespace zk::test {

namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
/// How large translations may be, in any form; other files are read up to a quarter of it.
constexpr std::size_t kLargestFile = 4 * kMebibyte;
constexpr std::size_t kMostBytes = 256 * kMebibyte;
constexpr std::size_t kMostAllocationsForAByte = 2;

struct HostileDocument {
  const char* name;
  std::string bytes;
};

/// `start` and `end` around as many of `item` as fit into the largest file.
std::string filled(const std::string& start, const std::string& item, const std::string& end) {
  std::string document = start;
  while (document.size() + item.size() + end.size() <= kLargestFile) document += item;
  return document + end;
}

/// Nested arrays, then a dictionary with one key more than it had room for.
std::string keysAlone() {
  std::string keys;
  for (std::size_t index = 0; index <= kMebibyte; ++index) keys += "ab;";
  return filled("(", std::string(511, '(') + std::string(511, ')') + ",", "{" + keys + "})");
}

/// Nested dictionaries, none of them finished when the last one outgrows its room.
std::string keysAloneInDictionaries() {
  std::string document;
  std::string end = "b";
  for (std::size_t count = kMebibyte / 64; count <= kMebibyte; count *= 2) {
    document += "{";
    for (std::size_t index = 0; index <= count; ++index) document += "a;";
    document += "a=";
    end += ";}";
  }
  return document + end;
}

/// An array of UIDs, each of which becomes a dictionary. They are all in one place; unused bytes make up for that.
std::string overlappingUIDs() {
  constexpr std::size_t kWidth = 3;
  const std::size_t count = (kLargestFile - 64) / (2 + 2 * kWidth);
  std::string document = "bplist00\x80\x01\xAF\x12" + bigEndian(count, 4);
  std::string offsets = bigEndian(10, kWidth);
  for (std::size_t index = 1; index <= count; ++index) {
    document += bigEndian(index, kWidth);
    offsets += bigEndian(8, kWidth);
  }
  document += std::string(2 * count, '\0');
  return document + offsets +
         binaryTrailer({.offsetSize = kWidth, .referenceSize = kWidth}, count + 1, document.size());
}

/// Nested arrays, each of which holds the next one twice; the last one is empty.
std::string doublingArrays() {
  std::vector<std::string> objects;
  for (std::size_t level = 1; level <= 500; ++level) {
    objects.push_back("\xA2" + bigEndian(level, 2) + bigEndian(level, 2));
  }
  objects.emplace_back("\xA0");
  return binaryDocument(objects, {.offsetSize = 2, .referenceSize = 2});
}

/// The documents of each form that need the most memory or the most allocations.
std::vector<HostileDocument> hostileDocuments() {
  const std::string count = "\x12" + bigEndian(kLargestFile / 2 - 64, 4);
  const std::string references(kLargestFile - 128, '\x01');
  return {
      {"keys alone", keysAlone()},
      {"keys alone in dictionaries", keysAloneInDictionaries()},
      {"arrays inside one another", filled("(", std::string(511, '(') + std::string(511, ')') + ",", ")")},
      {"dictionaries of one key", filled("(", "{ab;},", ")")},
      {"XML dictionaries", filled("<array>", "<dict/>", "</array>")},
      {"binary UIDs", overlappingUIDs()},
      {"binary entries", binaryDocument({"\xDF" + count + references, "\x51\x61"}, {.offsetSize = 4})},
      {"binary arrays that double", doublingArrays()},
  };
}

TEST(PropertyListLimits, ReadingTheLargestFileTakesLessThan256MiBAndTwoAllocationsPerByte) {
  for (const HostileDocument& document : hostileDocuments()) {
    ASSERT_LE(document.bytes.size(), kLargestFile) << document.name;
    const auto data = NSData::dataWithBytes(document.bytes);
    const std::size_t bytesBefore = liveBytes();
    const std::size_t allocationsBefore = allocationCount();
    const PeakOfLiveBytes peak;
    const bool isPropertyList = NSPropertyListSerialization::propertyListWithData(data) != nullptr;
    const std::size_t allocations = allocationCount() - allocationsBefore;
    EXPECT_TRUE(isPropertyList) << document.name;
    EXPECT_LT(peak.bytes() - bytesBefore, kMostBytes) << document.name;
    EXPECT_LE(allocations, kMostAllocationsForAByte * document.bytes.size()) << document.name;
  }
}

TEST(PropertyListLimits, WritingEqualContainersThatAreNotSharedStoresEachOnce) {
  // Two different arrays at every level, each holding both of the level below: equal, so that one is stored.
  Ref<NSObject> left = NSArray::arrayWithObjects({});
  Ref<NSObject> right = NSArray::arrayWithObjects({});
  for (int level = 0; level < 500; ++level) {
    const Ref<NSObject> newLeft = NSArray::arrayWithObjects({left, right});
    right = NSArray::arrayWithObjects({right, left});
    left = newLeft;
  }
  const auto written = writeBinaryPropertyList(NSArray::arrayWithObjects({left, right}));
  ASSERT_TRUE(written);
  EXPECT_LE(written->size(), 502U * (5 + 2) + 8 + 32);
}

}  // namespace

}  // namespace zk::test
