#include "plist/BinaryWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSDictionary.h"
#include "objects/NSNull.h"
#include "objects/NSNumber.h"
#include "objects/NSURL.h"
#include "platform/plist/BinaryDocument.h"
#include "platform/plist/PropertyListText.h"
#include "plist/BinaryReader.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

Ref<NSNumber> number(std::int64_t value) { return NSNumber::numberWithLongLong(value); }
Ref<NSNumber> real(double value) { return NSNumber::numberWithDouble(value); }
Ref<NSArray> array(std::vector<Ref<NSObject>> objects) { return NSArray::arrayWithObjects(std::move(objects)); }
Ref<NSString> text(const std::string& bytes) { return NSString::stringWithBytes(bytes); }

std::string write(const Ref<NSObject>& object) { return writeBinaryPropertyList(object).value_or("absent"); }

/// The bytes between the header and the table of offsets of a document of one object.
std::string writtenObject(const Ref<NSObject>& object) {
  const std::string document = write(object);
  EXPECT_EQ(document, binaryDocument({document.substr(8, document.size() - 8 - 1 - 32)}));
  return hexadecimal(document.substr(8, document.size() - 8 - 1 - 32));
}

/// What comes back when the object is written and read.
std::string readBack(const Ref<NSObject>& object) {
  return jsonFromPropertyList(readBinaryPropertyList(write(object)));
}

TEST(BinaryWriter, WritesIntegersInTheNarrowestWidth) {
  EXPECT_EQ(writtenObject(number(0)), "1000");
  EXPECT_EQ(writtenObject(number(255)), "10ff");
  EXPECT_EQ(writtenObject(number(256)), "110100");
  EXPECT_EQ(writtenObject(number(65535)), "11ffff");
  EXPECT_EQ(writtenObject(number(65536)), "1200010000");
  EXPECT_EQ(writtenObject(number(4294967295)), "12ffffffff");
  EXPECT_EQ(writtenObject(number(4294967296)), "130000000100000000");
  EXPECT_EQ(writtenObject(number(std::numeric_limits<std::int64_t>::max())), "137fffffffffffffff");
}

TEST(BinaryWriter, WritesNegativeIntegersInEightBytes) {
  EXPECT_EQ(writtenObject(number(-1)), "13ffffffffffffffff");
  EXPECT_EQ(writtenObject(number(std::numeric_limits<std::int64_t>::min())), "138000000000000000");
}

TEST(BinaryWriter, WritesIntegersBeyond63BitsInSixteenBytes) {
  EXPECT_EQ(writtenObject(NSNumber::numberWithUnsignedLongLong(1ULL << 63)), "1400000000000000008000000000000000");
  EXPECT_EQ(writtenObject(NSNumber::numberWithUnsignedLongLong(~0ULL)), "140000000000000000ffffffffffffffff");
  EXPECT_EQ(writtenObject(NSNumber::numberWithUnsignedLongLong(7)), "1007");
}

TEST(BinaryWriter, WritesRealsInFourBytesIfThatLosesNothing) {
  EXPECT_EQ(writtenObject(real(1.5)), "223fc00000");
  EXPECT_EQ(writtenObject(real(-0.0)), "2280000000");
  EXPECT_EQ(writtenObject(real(0.1)), "233fb999999999999a");
  EXPECT_EQ(writtenObject(real(HUGE_VAL)), "227f800000");
  EXPECT_EQ(writtenObject(real(1e300)), "237e37e43c8800759c");
  EXPECT_EQ(writtenObject(real(5e-324)), "230000000000000001");
  EXPECT_EQ(writtenObject(real(std::numeric_limits<double>::quiet_NaN())), "227fc00000");
}

TEST(BinaryWriter, KeepsEveryBitOfReals) {
  for (const std::uint64_t bits : {0x7FF8000000000001ULL, 0x7FF0000000000001ULL, 0xFFF8000020000000ULL,
                                   0x36A0000000000000ULL, 0x47EFFFFFE0000000ULL, 0x47EFFFFFF0000000ULL}) {
    const double value = std::bit_cast<double>(bits);
    EXPECT_EQ(readBack(real(value)), "{\"real\":\"" + hexadecimalBits(value) + "\"}");
  }
}

TEST(BinaryWriter, WritesBooleansNullDatesAndData) {
  EXPECT_EQ(writtenObject(NSNumber::numberWithBool(false)), "08");
  EXPECT_EQ(writtenObject(NSNumber::numberWithBool(true)), "09");
  EXPECT_EQ(writtenObject(NSNull::null()), "00");
  EXPECT_EQ(writtenObject(NSDate::dateWithTimeIntervalSinceReferenceDate(2)), "334000000000000000");
  EXPECT_EQ(writtenObject(NSData::dataWithBytes("\x01\xFF")), "4201ff");
}

TEST(BinaryWriter, WritesTextAsASCIIOrElseAsUTF16) {
  EXPECT_EQ(writtenObject(text("pid")), "53706964");
  EXPECT_EQ(writtenObject(text("")), "50");
  EXPECT_EQ(writtenObject(text("a\u00E9")), "62006100e9");
  EXPECT_EQ(writtenObject(text("\U0001F600")), "62d83dde00") << "counted in units";
}

TEST(BinaryWriter, WritesCountsFromFifteenOnAsIntegers) {
  EXPECT_EQ(writtenObject(text(std::string(14, 'a'))), "5e" + hexadecimal(std::string(14, 'a')));
  EXPECT_EQ(writtenObject(text(std::string(15, 'a'))), "5f100f" + hexadecimal(std::string(15, 'a')));
  const std::string long300 = write(text(std::string(300, 'a')));
  EXPECT_EQ(hexadecimal(long300.substr(8, 4)), "5f11012c");
}

TEST(BinaryWriter, WritesBytesThatAreNotUTF8AsNoncharacters) {
  EXPECT_EQ(writtenObject(text("a\xFF")), "630061fddffdef");
  EXPECT_EQ(writtenObject(text("\x80")), "62fdd8fde0");
}

TEST(BinaryWriter, KeepsTextsOfAnyBytes) {
  std::string every;
  for (unsigned byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
  for (const std::string& bytes :
       {every, "/tmp/caf\xE9"s, "\xF0\x9F\x98"s, "\xED\xA0\x80"s, "\xC0\x80"s, "\uFDD0\uFDEF"s, "\uFDDF\uFDEF"s,
        "\uFDDF"s, "\xFF\uFDDF\uFDEF\x80"s, "\xEF\xB7"s, "\uFDF0\uFDCF"s}) {
    const Ref<NSString> back = asString(readBinaryPropertyList(write(text(bytes))));
    ASSERT_TRUE(back);
    EXPECT_EQ(hexadecimal(back->bytes()), hexadecimal(bytes));
  }
}

TEST(BinaryWriter, WritesContainers) {
  EXPECT_EQ(write(array({})), binaryDocument({"\xA0"}));
  EXPECT_EQ(write(array({text("a"), number(1)})),
            binaryDocument({"\x51\x61", "\x10\x01", "\xA2\x00\x01"s}, {.top = 2}));
  EXPECT_EQ(write(NSDictionary::dictionaryWithEntries({{"b"_ns, number(1)}, {"a"_ns, number(2)}})),
            binaryDocument({"\x51\x61", "\x51\x62", "\x10\x02", "\x10\x01", "\xD2\x00\x01\x02\x03"s}, {.top = 4}));
}

TEST(BinaryWriter, StoresEqualObjectsOnce) {
  EXPECT_EQ(write(array({text("a"), text("a"), array({text("a")}), array({text("a")})})),
            binaryDocument({"\x51\x61", "\xA1\x00"s, "\xA4\x00\x00\x01\x01"s}, {.top = 2}));
  const auto dictionary = [] { return NSDictionary::dictionaryWithEntries({{"a"_ns, text("a")}}); };
  EXPECT_EQ(write(array({dictionary(), dictionary()})),
            binaryDocument({"\x51\x61", "\xD1\x00\x00"s, "\xA2\x01\x01"}, {.top = 2}));
}

TEST(BinaryWriter, KeepsNumbersOfDifferentKindsApart) {
  EXPECT_EQ(readBack(array({number(1), real(1), NSNumber::numberWithBool(true), number(0), real(0), real(-0.0),
                            NSNumber::numberWithBool(false), NSDate::dateWithTimeIntervalSinceReferenceDate(1)})),
            R"([1,{"real":"3ff0000000000000"},true,0,{"real":"0000000000000000"},{"real":"8000000000000000"},false,)"
            R"({"date":"3ff0000000000000"}])");
}

TEST(BinaryWriter, KeepsTextAndDataOfTheSameBytesApart) {
  EXPECT_EQ(readBack(array({text("a"), NSData::dataWithBytes("a")})), R"(["a",{"data":"61"}])");
}

TEST(BinaryWriter, WritesUIDsAsUIDs) {
  const auto uid = [](const Ref<NSObject>& value) {
    return NSDictionary::dictionaryWithEntries({{"CF$UID"_ns, value}});
  };
  EXPECT_EQ(writtenObject(uid(number(5))), "8005");
  EXPECT_EQ(writtenObject(uid(number(65536))), "8300010000");
  EXPECT_EQ(writtenObject(uid(number(4294967295))), "83ffffffff");
  EXPECT_EQ(write(uid(number(4294967296))), binaryDocument({"\x56"
                                                            "CF$UID",
                                                            "\x13" + bigEndian(4294967296, 8), "\xD1\x00\x01"s},
                                                           {.top = 2}));
  EXPECT_EQ(readBack(NSDictionary::dictionaryWithEntries({{"CF$UIE"_ns, number(5)}})), R"({"dict":{"CF$UIE":5}})");
  EXPECT_EQ(readBack(NSDictionary::dictionaryWithEntries({{"CF$UID"_ns, number(5)}, {"a"_ns, number(6)}})),
            R"({"dict":{"CF$UID":5,"a":6}})");
  for (const Ref<NSObject>& value :
       {Ref<NSObject>(number(-1)), Ref<NSObject>(NSNumber::numberWithUnsignedLongLong(~0ULL)), Ref<NSObject>(real(1)),
        Ref<NSObject>(text("1")), Ref<NSObject>(NSNumber::numberWithBool(true))}) {
    EXPECT_EQ(readBack(uid(value)), "{\"dict\":{\"CF$UID\":" + jsonFromPropertyList(value) + "}}");
  }
}

TEST(BinaryWriter, WritesReferencesAndOffsetsInTheNarrowestWidths) {
  struct Case {
    std::int64_t numbers;
    unsigned offsetWidth;
    unsigned referenceWidth;
  };
  // One array of so many different numbers, which take 2 or 3 bytes each.
  for (const Case& one : {Case{20, 1, 1}, Case{100, 2, 1}, Case{254, 2, 1}, Case{255, 2, 2}, Case{20000, 3, 2},
                          Case{65534, 3, 2}, Case{65535, 3, 3}}) {
    std::vector<Ref<NSObject>> numbers;
    for (std::int64_t value = 0; value < one.numbers; ++value) numbers.push_back(number(value));
    const Ref<NSArray> all = array(numbers);
    const std::string document = write(all);
    const std::string trailer = document.substr(document.size() - 32);
    EXPECT_EQ(trailer[6], static_cast<char>(one.offsetWidth)) << one.numbers;
    EXPECT_EQ(trailer[7], static_cast<char>(one.referenceWidth)) << one.numbers;
    const Ref<NSObject> back = readBinaryPropertyList(document);
    EXPECT_TRUE(areEqual(back, all)) << one.numbers;
  }
}

TEST(BinaryWriter, WritesTheSameBytesForEqualRecords) {
  const auto record = [](bool isReversed) {
    std::vector<NSDictionary::Entry> entries = {{"pid"_ns, number(12)}, {"executablePath"_ns, text("/bin/a")}};
    if (isReversed) std::swap(entries[0], entries[1]);
    return NSDictionary::dictionaryWithEntries(entries);
  };
  EXPECT_EQ(write(record(false)), write(record(true)));
}

TEST(BinaryWriter, RefusesWhatNoPropertyListCanHold) {
  EXPECT_FALSE(writeBinaryPropertyList(nullptr));
  EXPECT_FALSE(writeBinaryPropertyList(std::make_shared<NSURL>("/a")));
  EXPECT_FALSE(writeBinaryPropertyList(array({std::make_shared<NSURL>("/a")})));
  EXPECT_FALSE(writeBinaryPropertyList(array({nullptr})));
  EXPECT_FALSE(writeBinaryPropertyList(NSDictionary::dictionaryWithEntries({{"a"_ns, std::make_shared<NSURL>("/a")}})));
}

/// `levels` arrays, or dictionaries, around the object.
Ref<NSObject> nested(Ref<NSObject> object, int levels, bool isInDictionaries = false) {
  for (int level = 0; level < levels; ++level) {
    if (isInDictionaries) {
      object = NSDictionary::dictionaryWithEntries({{"a"_ns, object}});
    } else {
      object = array({object});
    }
  }
  return object;
}

TEST(BinaryWriter, WritesNestingOf512AndRefusesDeeper) {
  for (const bool isInDictionaries : {false, true}) {
    EXPECT_TRUE(writeBinaryPropertyList(nested(number(1), 512, isInDictionaries)));
    EXPECT_FALSE(writeBinaryPropertyList(nested(number(1), 513, isInDictionaries)));
  }
}

TEST(BinaryWriter, CountsTheNestingOfSharedObjectsOnTheirDeepestPath) {
  const auto uid = NSDictionary::dictionaryWithEntries({{"CF$UID"_ns, number(5)}});
  for (const Ref<NSObject>& shared : {nested(number(1), 500), nested(number(1), 500, true), nested(uid, 499)}) {
    EXPECT_TRUE(writeBinaryPropertyList(array({shared, nested(shared, 11)})));
    EXPECT_FALSE(writeBinaryPropertyList(array({shared, nested(shared, 12)})));
  }
  EXPECT_TRUE(writeBinaryPropertyList(array({uid, nested(uid, 510)})));
  EXPECT_FALSE(writeBinaryPropertyList(array({uid, nested(uid, 511)})));
}

TEST(BinaryWriter, RefusesADictionaryThatContainsItself) {
  const auto dictionary = NSMutableDictionary::dictionaryWithCapacity(2);
  dictionary->setObject(dictionary, "a"_ns);
  dictionary->setObject(dictionary, "b"_ns);
  EXPECT_FALSE(writeBinaryPropertyList(dictionary));
  dictionary->setObject(number(1), "a"_ns);
  dictionary->setObject(number(1), "b"_ns);
}

}  // namespace

}  // namespace zk::test
