#include "plist/BinaryReader.h"

#include <gtest/gtest.h>

#include "objects/NSArray.h"
#include "objects/NSDictionary.h"
#include "objects/NSNull.h"
#include "platform/plist/BinaryDocument.h"
#include "platform/plist/PropertyListText.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

std::string read(const std::string& document) { return jsonFromPropertyList(readBinaryPropertyList(document)); }

/// What a document with this one object reads as.
std::string readObject(const std::string& bytes) { return read(binaryDocument({bytes})); }

TEST(BinaryReader, ReadsNullAndBooleans) {
  EXPECT_EQ(readObject("\x00"s), "null");
  EXPECT_EQ(readObject("\x08"), "false");
  EXPECT_EQ(readObject("\x09"), "true");
}

TEST(BinaryReader, RefusesMarkersWithoutAMeaning) {
  for (const auto& bytes :
       {"\x01"s, "\x07"s, "\x0A"s, "\x0F"s, "\x20\x00"s, "\x21\x00\x00"s, "\x24"s + std::string(16, '\0'), "\x30\x00"s,
        "\x32\x00\x00\x00\x00"s, "\x34"s + std::string(16, '\0'), "\x90"s, "\xE0"s, "\xF0"s}) {
    EXPECT_EQ(readObject(bytes), "absent") << hexadecimal(bytes);
  }
}

TEST(BinaryReader, ReadsIntegersOfOneTwoAndFourBytesAsUnsigned) {
  EXPECT_EQ(readObject("\x10\xFF"), "255");
  EXPECT_EQ(readObject("\x11\xFF\xFE"), "65534");
  EXPECT_EQ(readObject("\x12\xFF\xFF\xFF\xFD"), "4294967293");
}

TEST(BinaryReader, ReadsIntegersOfEightBytesAsSigned) {
  EXPECT_EQ(readObject("\x13" + bigEndian(~0ULL, 8)), "-1");
  EXPECT_EQ(readObject("\x13" + bigEndian(1ULL << 63, 8)), "-9223372036854775808");
  EXPECT_EQ(readObject("\x13" + bigEndian((1ULL << 63) - 1, 8)), "9223372036854775807");
}

TEST(BinaryReader, ReadsIntegersOfSixteenBytesThatFitInto64Bits) {
  EXPECT_EQ(readObject("\x14" + bigEndian(0, 8) + bigEndian(5, 8)), "5");
  EXPECT_EQ(readObject("\x14" + bigEndian(0, 8) + bigEndian(1ULL << 63, 8)), "9223372036854775808");
  EXPECT_EQ(readObject("\x14" + bigEndian(0, 8) + bigEndian(~0ULL, 8)), "18446744073709551615");
  EXPECT_EQ(readObject("\x14" + bigEndian(~0ULL, 8) + bigEndian(~0ULL, 8)), "-1");
  EXPECT_EQ(readObject("\x14" + bigEndian(~0ULL, 8) + bigEndian(1ULL << 63, 8)), "-9223372036854775808");
}

TEST(BinaryReader, RefusesIntegersBeyond64Bits) {
  EXPECT_EQ(readObject("\x14" + bigEndian(1, 8) + bigEndian(0, 8)), "absent");
  EXPECT_EQ(readObject("\x14" + bigEndian(~0ULL, 8) + bigEndian((1ULL << 63) - 1, 8)), "absent");
  EXPECT_EQ(readObject("\x14" + bigEndian(1ULL << 63, 8) + bigEndian(~0ULL, 8)), "absent");
  EXPECT_EQ(readObject("\x15" + std::string(32, '\0')), "absent");
}

TEST(BinaryReader, ReadsRealsOfFourAndEightBytes) {
  EXPECT_EQ(readObject("\x22" + bigEndian(0x3FC00000, 4)), R"({"real":"3ff8000000000000"})");
  EXPECT_EQ(readObject("\x23" + bigEndian(0x400921FB54442D18, 8)), R"({"real":"400921fb54442d18"})");
}

TEST(BinaryReader, ReadsDates) {
  EXPECT_EQ(readObject("\x33" + bigEndian(0x41C0000000000000, 8)), R"({"date":"41c0000000000000"})");
}

TEST(BinaryReader, ReadsDataOfAnyLength) {
  EXPECT_EQ(readObject("\x40"), R"({"data":""})");
  EXPECT_EQ(readObject("\x43\x00\xFFz"s), R"({"data":"00ff7a"})");
  EXPECT_EQ(readObject("\x4F\x10\x0F" + std::string(15, 'a')), R"({"data":"616161616161616161616161616161"})");
}

TEST(BinaryReader, ReadsTextInItsThreeEncodings) {
  EXPECT_EQ(readObject("\x53pid"), R"("pid")");
  EXPECT_EQ(readObject("\x50"), R"("")");
  EXPECT_EQ(readObject("\x63\x00\xE9\xD8\x3D\xDE\x00"s), "\"\u00E9\U0001F600\"");
  EXPECT_EQ(readObject("\x72\xC3\xA9"), "\"\u00E9\"");
  EXPECT_EQ(readObject("\x51\x00"s), R"("\u0000")");
}

TEST(BinaryReader, RefusesTextThatIsNotInItsEncoding) {
  EXPECT_EQ(readObject("\x51\x80"), "absent");
  EXPECT_EQ(readObject("\x52\xC3\xA9"), "absent");
  EXPECT_EQ(readObject("\x72\xC3\x28"), "absent");
}

TEST(BinaryReader, KeepsLoneSurrogatesApart) {
  EXPECT_NE(readObject("\x61\xDC\x80"), readObject("\x61\xDC\x81"));
  EXPECT_EQ(readObject("\x61\xD8\x00"s), R"("\udced\udca0\udc80")");
  EXPECT_EQ(readObject("\x62\xDC\x00\xDC\x00"s), R"("\udced\udcb0\udc80\udced\udcb0\udc80")");
  EXPECT_EQ(readObject("\x62\xD7\xFF\xDC\x00"s), "\"\uD7FF\\udced\\udcb0\\udc80\"");
}

TEST(BinaryReader, ReadsCountsOfEveryWidth) {
  for (unsigned power = 0; power <= 3; ++power) {
    const std::string count = bigEndian(0x10 + power, 1) + bigEndian(3, std::size_t{1} << power);
    EXPECT_EQ(readObject("\x5F" + count + "abc"), R"("abc")") << power;
  }
}

TEST(BinaryReader, RefusesCountsThatAreNotIntegers) {
  EXPECT_EQ(readObject("\x5F\x23" + bigEndian(0, 8)), "absent");
  EXPECT_EQ(readObject("\x5F\x51\x61"), "absent");
  EXPECT_EQ(readObject("\x5F\x00\x03"
                       "abc"s),
            "absent");
  EXPECT_EQ(readObject("\x5F"), "absent");
  EXPECT_EQ(readObject("\x5F\x11\x00"s), "absent");
}

TEST(BinaryReader, RefusesAnObjectThatReachesBeyondTheLast) {
  for (const auto& bytes :
       {"\x11\x01"s, "\x13\x01"s, "\x14\x01"s, "\x22\x01"s, "\x23\x01"s, "\x33\x01"s, "\x42\x61"s, "\x52\x61"s,
        "\x61\x61"s, "\x72\x61"s, "\x81\x01"s, "\xA1"s, "\xD1\x00"s, "\x4F\x13"s + bigEndian(~0ULL, 8),
        "\xAF\x13"s + bigEndian(1ULL << 63, 8), "\xDF\x13"s + bigEndian((1ULL << 63) + 1, 8),
        "\x6F\x13"s + bigEndian((1ULL << 63) + 1, 8)}) {
    EXPECT_EQ(readObject(bytes), "absent") << hexadecimal(bytes);
  }
}

TEST(BinaryReader, ReadsUIDsAsDictionaries) {
  EXPECT_EQ(readObject("\x80\x07"), R"({"dict":{"CF$UID":7}})");
  EXPECT_EQ(readObject("\x82\x01\x00\x00"s), R"({"dict":{"CF$UID":65536}})");
  EXPECT_EQ(readObject("\x87" + bigEndian(~0ULL, 8)), R"({"dict":{"CF$UID":18446744073709551615}})");
  EXPECT_EQ(readObject("\x8F" + bigEndian(0, 8) + bigEndian(9, 8)), R"({"dict":{"CF$UID":9}})");
  EXPECT_EQ(readObject("\x8F" + bigEndian(1, 8) + bigEndian(9, 8)), "absent");
}

TEST(BinaryReader, ReadsArraysAndBothKindsOfSetsAsLists) {
  for (const char* marker : {"\xA2", "\xB2", "\xC2"}) {
    EXPECT_EQ(read(binaryDocument({marker + "\x01\x02"s, "\x09", "\x51\x61"})), R"([true,"a"])");
  }
  EXPECT_EQ(readObject("\xA0"), "[]");
}

TEST(BinaryReader, ReadsDictionariesInAnyOrderOfKeys) {
  EXPECT_EQ(read(binaryDocument({"\xD2\x01\x02\x03\x04", "\x51\x62", "\x51\x61", "\x10\x01", "\x10\x02"})),
            R"({"dict":{"a":2,"b":1}})");
  EXPECT_EQ(readObject("\xD0"), R"({"dict":{}})");
}

TEST(BinaryReader, FindsObjectsInADictionaryByKey) {
  const auto dictionary = asDictionary(readBinaryPropertyList(binaryDocument(
      {"\xD3\x01\x02\x03\x04\x05\x06", "\x51\x63", "\x51\x61", "\x51\x62", "\x10\x03", "\x10\x01", "\x10\x02"})));
  ASSERT_TRUE(dictionary);
  EXPECT_EQ(jsonFromPropertyList(dictionary->objectForKey("a"_ns)), "1");
  EXPECT_EQ(jsonFromPropertyList(dictionary->objectForKey("b"_ns)), "2");
  EXPECT_EQ(jsonFromPropertyList(dictionary->objectForKey("c"_ns)), "3");
  EXPECT_FALSE(dictionary->objectForKey("d"_ns));
}

TEST(BinaryReader, TakesTheLastOfEqualKeys) {
  const std::vector<std::string> values = {"\x10\x01", "\x10\x02", "\x10\x03"};
  EXPECT_EQ(read(binaryDocument(
                {"\xD3\x01\x02\x01\x03\x04\x05", "\x51\x61", "\x61\x00\x61"s, values[0], values[1], values[2]})),
            R"({"dict":{"a":3}})");
}

TEST(BinaryReader, ReadsKeysInEveryEncoding) {
  for (const auto& key : {"\x51\x61"s, "\x61\x00\x61"s, "\x71\x61"s}) {
    EXPECT_EQ(read(binaryDocument({"\xD1\x01\x02", key, "\x09"})), R"({"dict":{"a":true}})") << hexadecimal(key);
  }
}

TEST(BinaryReader, RefusesKeysThatAreNotText) {
  EXPECT_EQ(read(binaryDocument({"\xD1\x01\x01", "\x41\x61"})), "absent");
  EXPECT_EQ(read(binaryDocument({"\xD1\x01\x01", "\x80\x01"})), "absent");
  EXPECT_EQ(read(binaryDocument({"\xD1\x01\x01", "\x10\x01"})), "absent");
  EXPECT_EQ(read(binaryDocument({"\xD1\x01\x02", "\xA0", "\x10\x01"})), "absent");
}

TEST(BinaryReader, ReadsReferencesAndOffsetsOfEveryWidth) {
  for (std::size_t offsetSize = 1; offsetSize <= 8; ++offsetSize) {
    for (std::size_t referenceSize = 1; referenceSize <= 8; ++referenceSize) {
      const std::string references = bigEndian(1, referenceSize) + bigEndian(2, referenceSize);
      EXPECT_EQ(read(binaryDocument({"\xD1" + references, "\x51\x61", "\x09"},
                                    {.offsetSize = offsetSize, .referenceSize = referenceSize})),
                R"({"dict":{"a":true}})")
          << offsetSize << " " << referenceSize;
    }
  }
}

TEST(BinaryReader, RefusesWidthsOfZeroAndBeyondEight) {
  for (const std::size_t size : {0U, 9U, 255U}) {
    const std::string objects = "bplist00\x09";
    EXPECT_EQ(read(objects + std::string(16, '\x08') + binaryTrailer({.offsetSize = size}, 1, 9)), "absent") << size;
    EXPECT_EQ(read(objects + "\x08" + binaryTrailer({.referenceSize = size}, 1, 9)), "absent") << size;
  }
}

TEST(BinaryReader, ReadsATopObjectThatIsNotTheFirst) {
  EXPECT_EQ(read(binaryDocument({"\x08", "\xA1\x00"s}, {.top = 1})), "[false]");
}

TEST(BinaryReader, ReadsATopObjectThatNoReferenceReaches) {
  std::vector<std::string> objects(300, "\x08");
  objects.emplace_back("\xA1\x00"s);
  EXPECT_EQ(read(binaryDocument(objects, {.offsetSize = 2, .top = 300})), "[false]");
}

TEST(BinaryReader, ReadsOtherVersionsAsFarAsItCan) {
  EXPECT_EQ(read(binaryDocument({"\x09"}, {.header = "bplist01"})), "true");
}

TEST(BinaryReader, DoesNotLookAtObjectsThatNothingRefersTo) {
  EXPECT_EQ(read(binaryDocument({"\x09", "\xFF"})), "true");
}

TEST(BinaryReader, RefusesATrailerThatPointsOutside) {
  const std::string objects = "bplist00\x09";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 1, 9)), "true");
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 0, 9)), "absent") << "no objects";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 2, 9)), "absent") << "table cut off";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, ~0ULL, 9)), "absent") << "huge table";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({.top = 1}, 1, 9)), "absent") << "top beyond the objects";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 1, 10)), "absent") << "table at the trailer";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 1, 7)), "absent") << "table in the header";
  EXPECT_EQ(read(objects + "\x08" + binaryTrailer({}, 1, ~0ULL)), "absent") << "table beyond the end";
  EXPECT_EQ(read(objects + "\x00"s + binaryTrailer({}, 1, 9)), "absent") << "object in the header, which reads as text";
  EXPECT_EQ(read(objects + "\x09" + binaryTrailer({}, 1, 9)), "absent") << "object in the table";
}

TEST(BinaryReader, RefusesReferencesBeyondTheObjects) {
  EXPECT_EQ(read(binaryDocument({"\xA1\x02", "\x09"})), "absent");
}

TEST(BinaryReader, RefusesEveryPrefixOfADocument) {
  const std::string document = binaryDocument({"\xD1\x01\x02", "\x53pid", "\x11\x12\x34"});
  ASSERT_EQ(read(document), R"({"dict":{"pid":4660}})");
  for (std::size_t length = 0; length < document.size(); ++length) {
    EXPECT_EQ(read(document.substr(0, length)), "absent") << length;
  }
}

TEST(BinaryReader, BuildsAnObjectOnceHoweverOftenItIsReferredTo) {
  const auto array = asArray(readBinaryPropertyList(binaryDocument({"\xA2\x01\x01", "\x51\x61"})));
  ASSERT_TRUE(array);
  EXPECT_EQ(array->objects()[0], array->objects()[1]);
}

TEST(BinaryReader, RefusesContainersThatContainThemselves) {
  EXPECT_EQ(read(binaryDocument({"\xA1\x00"s})), "absent");
  EXPECT_EQ(read(binaryDocument({"\xA1\x01", "\xD1\x02\x00"s, "\x51\x61"})), "absent");
  EXPECT_EQ(read(binaryDocument({"\xD1\x00\x00"s})), "absent") << "its own key";
}

/// `depth` arrays inside one another; the innermost is empty.
std::string nestedArrays(std::size_t depth) {
  std::vector<std::string> objects;
  for (std::size_t index = 1; index < depth; ++index) objects.push_back("\xA1" + bigEndian(index, 3));
  objects.emplace_back("\xA0");
  return binaryDocument(objects, {.offsetSize = 3, .referenceSize = 3});
}

TEST(BinaryReader, ReadsNestingOf512AndRefusesDeeper) {
  EXPECT_TRUE(readBinaryPropertyList(nestedArrays(512)));
  EXPECT_FALSE(readBinaryPropertyList(nestedArrays(513)));
  EXPECT_FALSE(readBinaryPropertyList(nestedArrays(1000000))) << "deeper than the stack";
}

TEST(BinaryReader, CountsUIDsAsALevelOfNesting) {
  const auto around = [](std::size_t depth) {
    std::vector<std::string> objects;
    for (std::size_t index = 1; index <= depth; ++index) objects.push_back("\xA1" + bigEndian(index, 2));
    objects.emplace_back("\x80\x01");
    return binaryDocument(objects, {.offsetSize = 2, .referenceSize = 2});
  };
  EXPECT_TRUE(readBinaryPropertyList(around(511)));
  EXPECT_FALSE(readBinaryPropertyList(around(512)));
}

TEST(BinaryReader, CountsTheNestingOfSharedObjectsOnTheirDeepestPath) {
  // The top array holds a chain of 500 arrays twice: directly, which builds it, and below `above` further arrays.
  const auto document = [](std::size_t above) {
    std::vector<std::string> objects = {"\xA2" + bigEndian(1, 2) + bigEndian(501, 2)};
    for (std::size_t index = 1; index < 500; ++index) objects.push_back("\xA1" + bigEndian(index + 1, 2));
    objects.emplace_back("\xA0");
    for (std::size_t index = 1; index < above; ++index) objects.push_back("\xA1" + bigEndian(500 + index + 1, 2));
    objects.push_back("\xA1" + bigEndian(1, 2));
    return binaryDocument(objects, {.offsetSize = 2, .referenceSize = 2});
  };
  EXPECT_TRUE(readBinaryPropertyList(document(11)));
  EXPECT_FALSE(readBinaryPropertyList(document(12)));
}

/// An array of `count` arrays. Each has 250 references, nearly all of them shared with the array before.
std::string overlappingArrays(std::size_t count) {
  std::string document = "bplist00";
  std::string offsets = bigEndian(document.size(), 2);
  document += bigEndian(0xA0 + count, 1);
  for (std::size_t index = 1; index <= count; ++index) document += bigEndian(index, 1);
  for (std::size_t index = 1; index <= count; ++index) {
    offsets += bigEndian(document.size(), 2);
    document += "\xAF\x10\xFA";
  }
  document += std::string(250, '\xFF');
  // The markers count as references, too, and need objects.
  while (offsets.size() < std::size_t{2} * 256) offsets += bigEndian(document.size(), 2);
  document += "\x09";
  return document + offsets + binaryTrailer({.offsetSize = 2}, 256, document.size());
}

TEST(BinaryReader, RefusesMoreObjectsThanItsOffsetsCanTellApart) {
  EXPECT_EQ(read(binaryDocument(std::vector<std::string>(200, "\x09"))), "true");
  const std::string objects = "bplist00\x09";
  EXPECT_EQ(read(objects + std::string(256, '\x08') + binaryTrailer({}, 256, 9)), "true");
  EXPECT_EQ(read(objects + std::string(257, '\x08') + binaryTrailer({}, 257, 9)), "absent");
}

/// An array of `count` dictionaries, each with the same two long keys.
std::string dictionariesOfLongKeys(std::size_t count) {
  std::string references;
  for (std::size_t index = 1; index <= count; ++index) references += bigEndian(index, 2);
  std::vector<std::string> objects(count + 1, "\xD2" + bigEndian(count + 1, 2) + bigEndian(count + 2, 2) +
                                                  bigEndian(count + 1, 2) + bigEndian(count + 2, 2));
  objects[0] = "\xAF\x11" + bigEndian(count, 2) + references;
  const std::string key = "\x5F\x12" + bigEndian(1 << 15, 4) + std::string((1 << 15) - 1, 'a');
  objects.push_back(key + "b");
  objects.push_back(key + "c");
  return binaryDocument(objects, {.offsetSize = 3, .referenceSize = 2});
}

TEST(BinaryReader, RefusesLongKeysThatTooManyDictionariesShare) {
  EXPECT_TRUE(readBinaryPropertyList(dictionariesOfLongKeys(1024)));
  EXPECT_FALSE(readBinaryPropertyList(dictionariesOfLongKeys(1025)));
}

TEST(BinaryReader, RefusesObjectsThatOverlap) {
  EXPECT_TRUE(readBinaryPropertyList(overlappingArrays(1)));
  EXPECT_FALSE(readBinaryPropertyList(overlappingArrays(5)));
}

}  // namespace

}  // namespace zk::test
