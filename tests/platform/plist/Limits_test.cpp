#include <gtest/gtest.h>

#include <ctime>

#include "objects/NSArray.h"
#include "platform/plist/HostileDocuments.h"
#include "plist/BinaryWriter.h"
#include "plist/NSPropertyListSerialization.h"
#include "support/Memory.h"

namespace zk::test {

namespace {

/// What the document itself does not pay for: tables of a fixed size, the first blocks of containers.
constexpr std::size_t kFixedBytes = std::size_t{1} << 16;
constexpr std::size_t kMostBytesForAByte = 32;
/// Far above what the smallest documents here take, also under a sanitizer, and far below anything that multiplies.
constexpr double kMostSeconds = 5;

double secondsSince(std::clock_t start) { return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC; }

double secondsToRead(const HostileDocument& document) {
  const auto data = NSData::dataWithBytes(document.bytes);
  const std::clock_t start = std::clock();
  NSPropertyListSerialization::propertyListWithData(data);
  return secondsSince(start);
}

/// Reads the document; at no moment may that take more memory than the limit.
Ref<NSObject> readWithinMemory(const HostileDocument& document) {
  const auto data = NSData::dataWithBytes(document.bytes);
  const std::size_t before = liveBytes();
  const PeakOfLiveBytes peak;
  auto propertyList = NSPropertyListSerialization::propertyListWithData(data);
  EXPECT_LE(peak.bytes() - before, kMostBytesForAByte * document.bytes.size() + kFixedBytes) << document.name;
  return propertyList;
}

TEST(PropertyListLimits, ReadingTakesAtMost32TimesTheSizeOfAnyDocumentInMemory) {
  constexpr std::size_t kSize = std::size_t{1} << 18;
  for (const HostileDocument& document : hungryDocuments(kSize)) {
    EXPECT_TRUE(readWithinMemory(document)) << document.name << " is a property list";
  }
  for (const HostileDocument& document : slowDocuments(kSize)) readWithinMemory(document);
}

TEST(PropertyListLimits, ReadingMalformedDocumentsLeavesNothingBehind) {
  for (const HostileDocument& document : hungryDocuments(std::size_t{1} << 12)) {
    const auto data = NSData::dataWithBytes(document.bytes.substr(0, document.bytes.size() - 1));
    const std::size_t before = liveBytes();
    NSPropertyListSerialization::propertyListWithData(data);
    EXPECT_EQ(liveBytes(), before) << document.name;
  }
}

TEST(PropertyListLimits, ReadingTakesTimeInProportionToTheSizeOfAnyDocument) {
  constexpr std::size_t kSize = std::size_t{1} << 20;
  // Of eight times the size quadratic work takes 64 times as long, work in proportion 8 times; the rest is for sorted
  // keys, colder caches and a machine that others use, too.
  constexpr double kMostTimesAsLong = 24;
  constexpr double kSecondsOfNoise = 1;

  const std::vector<HostileDocument> eighths = slowDocuments(kSize / 8);
  const std::vector<HostileDocument> documents = slowDocuments(kSize);
  for (std::size_t index = 0; index < documents.size(); ++index) {
    const double mostSeconds = kMostTimesAsLong * secondsToRead(eighths[index]) + kSecondsOfNoise;
    EXPECT_LT(secondsToRead(documents[index]), mostSeconds) << documents[index].name;
  }
}

TEST(PropertyListLimits, SharedReferencesNeverMultiplyWork) {
  const std::string bytes = doublingArrays(500);
  const std::clock_t start = std::clock();
  auto propertyList = NSPropertyListSerialization::propertyListWithData(NSData::dataWithBytes(bytes));
  ASSERT_TRUE(propertyList);
  const auto written = writeBinaryPropertyList(propertyList);
  ASSERT_TRUE(written);
  EXPECT_LE(written->size(), bytes.size());
  propertyList.reset();
  EXPECT_LT(secondsSince(start), kMostSeconds);
}

TEST(PropertyListLimits, WritingEqualContainersThatAreNotSharedTakesLinearTime) {
  // Two different arrays at every level, each holding both of the level below: equal, so that one is stored.
  Ref<NSObject> left = NSArray::arrayWithObjects({});
  Ref<NSObject> right = NSArray::arrayWithObjects({});
  for (int level = 0; level < 500; ++level) {
    const Ref<NSObject> newLeft = NSArray::arrayWithObjects({left, right});
    right = NSArray::arrayWithObjects({right, left});
    left = newLeft;
  }
  const std::clock_t start = std::clock();
  const auto written = writeBinaryPropertyList(NSArray::arrayWithObjects({left, right}));
  EXPECT_LT(secondsSince(start), kMostSeconds);
  ASSERT_TRUE(written);
  EXPECT_LE(written->size(), 502U * (5 + 2) + 8 + 32);
}

}  // namespace

}  // namespace zk::test
