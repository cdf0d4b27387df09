#include "plist/NSPropertyListSerialization.h"

#include <gtest/gtest.h>

#include "objects/NSDate.h"
#include "objects/NSDictionary.h"
#include "objects/NSNumber.h"
#include "platform/plist/BinaryDocument.h"
#include "platform/plist/PropertyListText.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

std::string read(std::string_view bytes) {
  return jsonFromPropertyList(NSPropertyListSerialization::propertyListWithData(NSData::dataWithBytes(bytes)));
}

/// ASCII text as UTF-16 with its byte-order mark.
std::string inUTF16(std::string_view text, bool isBigEndian) {
  std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char character : text) {
    bytes += isBigEndian ? std::string{'\0', character} : std::string{character, '\0'};
  }
  return bytes;
}

TEST(NSPropertyListSerialization, RecognisesTheFormByTheContent) {
  EXPECT_EQ(read(binaryDocument({"\x09"})), "true");
  EXPECT_EQ(read("<?xml version=\"1.0\"?><true/>"), "true");
  EXPECT_EQ(read("<!DOCTYPE plist><true/>"), "true");
  EXPECT_EQ(read("<!-- a --><true/>"), "true");
  EXPECT_EQ(read("\n <plist><true/></plist>"), "true");
  EXPECT_EQ(read("{a=b;}"), R"({"dict":{"a":"b"}})");
  EXPECT_EQ(read("a = b;"), R"({"dict":{"a":"b"}})");
  EXPECT_EQ(read("hello"), R"("hello")");
}

TEST(NSPropertyListSerialization, DistinguishesXMLFromDataOfTheTextForm) {
  EXPECT_EQ(read("<fade>"), R"({"data":"fade"})");
  EXPECT_EQ(read("\n< 00 ff >\n"), R"({"data":"00ff"})");
  EXPECT_EQ(read("<data>AAAA</data>"), R"({"data":"000000"})");
  EXPECT_EQ(read("<date>2001-01-01T00:00:00Z</date>"), R"({"date":"0000000000000000"})");
  EXPECT_EQ(read("<false/>"), "false");
}

TEST(NSPropertyListSerialization, ReadsADocumentWithTheBinaryHeaderInNoOtherForm) {
  EXPECT_EQ(read("bplist00"), "absent");
  EXPECT_EQ(read("bplist00 = a;"), "absent");
  EXPECT_EQ(read("bplist01"), "absent");
  EXPECT_EQ(read("bplist"), R"("bplist")");
}

TEST(NSPropertyListSerialization, ReadsNothingFromEmptyFilesAndAbsentData) {
  EXPECT_EQ(read(""), "absent");
  EXPECT_EQ(read(" \n"), "absent");
  EXPECT_EQ(read("\xEF\xBB\xBF"), "absent");
  EXPECT_EQ(read("\xFE\xFF"), "absent");
  EXPECT_FALSE(NSPropertyListSerialization::propertyListWithData(nullptr));
}

TEST(NSPropertyListSerialization, ReadsUTF8WithAMark) {
  EXPECT_EQ(read("\xEF\xBB\xBF<true/>"), "true");
  EXPECT_EQ(read("\xEF\xBB\xBF(a)"), R"(["a"])");
}

TEST(NSPropertyListSerialization, ReadsUTF16InBothByteOrders) {
  for (const bool isBigEndian : {false, true}) {
    EXPECT_EQ(read(inUTF16("<?xml version='1.0' encoding='UTF-16'?><string>a</string>", isBigEndian)), R"("a")");
    EXPECT_EQ(read(inUTF16("\"Hello\" = \"You\";", isBigEndian)), R"({"dict":{"Hello":"You"}})");
  }
  EXPECT_EQ(read("\xFE\xFF\0\"\0\xE9\xD8\x3D\xDE\0\0\""s), "\"\u00E9\U0001F600\"");
  EXPECT_EQ(read("\xFF\xFE\"\0\xE9\0\x3D\xD8\0\xDE\"\0"s), "\"\u00E9\U0001F600\"");
}

TEST(NSPropertyListSerialization, RefusesMalformedUTF16) {
  EXPECT_EQ(read("\xFE\xFF\0a"s), R"("a")");
  EXPECT_EQ(read("\xFE\xFF\0a\0"s), "absent") << "half a unit";
  EXPECT_EQ(read("\xFE\xFF\0\"\xD8\0\0\""s), "absent") << "half a character";
  EXPECT_EQ(read("\xFF\xFE\0\0a\0\0\0"s), "absent") << "the mark of UTF-32";
}

TEST(NSPropertyListSerialization, RefusesTextThatIsNotUTF8) {
  EXPECT_EQ(read("\"\xE9\""), "absent");
  EXPECT_EQ(read("<string>\xE9</string>"), "absent");
  EXPECT_EQ(read("\"\xC0\x80\""), "absent");
}

TEST(NSPropertyListSerialization, RestoresBytesWrittenAsNoncharactersInEveryForm) {
  const std::string byte = R"("\udcff")";
  EXPECT_EQ(read(binaryDocument({"\x62\xFD\xDF\xFD\xEF"})), byte);
  EXPECT_EQ(read("<string>\uFDDF\uFDEF</string>"), byte);
  EXPECT_EQ(read("\"\uFDDF\uFDEF\""), byte);
  for (const std::string text : {"\uFDD0\uFDEF", "\uFDDF", "\uFDDF\uFDDF", "\uFDE0\uFDE0", "\uFDDF\uFDF0"}) {
    EXPECT_EQ(read("\"" + text + "\""), "\"" + text + "\"") << "no byte is written like this";
  }
}

TEST(NSPropertyListSerialization, WritesTheBinaryFormOnly) {
  EXPECT_TRUE(NSPropertyListSerialization::dataFromPropertyList("a"_ns, NSPropertyListBinaryFormat_v1_0));
  EXPECT_FALSE(NSPropertyListSerialization::dataFromPropertyList("a"_ns, 100));
  EXPECT_FALSE(NSPropertyListSerialization::dataFromPropertyList(nullptr, NSPropertyListBinaryFormat_v1_0));
}

TEST(NSPropertyListSerialization, KeepsAProcessInfoRecord) {
  const auto record = NSMutableDictionary::dictionaryWithCapacity(4);
  record->setObject(NSNumber::numberWithInt(4321), "pid"_ns);
  record->setObject(NSString::stringWithBytes("/opt/caf\xE9/bin"), "executablePath"_ns);
  record->setObject("org.example.app"_ns, "bundleId"_ns);
  record->setObject(NSDate::dateWithTimeIntervalSince1970(4294967295.0 + kCFAbsoluteTimeIntervalSince1970),
                    "creationDate"_ns);
  const auto data = NSPropertyListSerialization::dataFromPropertyList(record, NSPropertyListBinaryFormat_v1_0);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->bytes().substr(0, 8), "bplist00");
  EXPECT_TRUE(areEqual(NSPropertyListSerialization::propertyListWithData(data), record));
}

}  // namespace

}  // namespace zk::test
