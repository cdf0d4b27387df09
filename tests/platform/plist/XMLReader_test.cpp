#include "plist/XMLReader.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/plist/PropertyListText.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

std::string read(std::string_view document) { return jsonFromPropertyList(readXMLPropertyList(document)); }

/// What a document with this one value reads as.
std::string readValue(const std::string& value) { return read("<plist version=\"1.0\">" + value + "</plist>"); }

TEST(XMLReader, ReadsATypicalDocument) {
  EXPECT_EQ(read("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                 "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                 "<plist version=\"1.0\">\n<dict>\n\t<key>pid</key>\n\t<integer>42</integer>\n"
                 "\t<key>list</key>\n\t<array>\n\t\t<true/>\n\t\t<false/>\n\t</array>\n</dict>\n</plist>\n"),
            R"({"dict":{"list":[true,false],"pid":42}})");
}

TEST(XMLReader, ReadsAValueWithoutThePlistElement) {
  EXPECT_EQ(read("<string>a</string>"), R"("a")");
  EXPECT_EQ(read(" \n<dict/>"), R"({"dict":{}})");
}

TEST(XMLReader, ReadsContainers) {
  EXPECT_EQ(readValue("<array/>"), "[]");
  EXPECT_EQ(readValue("<array></array>"), "[]");
  EXPECT_EQ(readValue("<array><dict/><array><true/></array></array>"), R"([{"dict":{}},[true]])");
  EXPECT_EQ(readValue("<dict><key>b</key><true/><key/><false/><key>b</key><dict/></dict>"),
            R"({"dict":{"":false,"b":{"dict":{}}}})")
      << "the last of equal keys";
}

TEST(XMLReader, ReadsBooleansWrittenWithTwoTags) {
  EXPECT_EQ(readValue("<array><true></true><false /></array>"), "[true,false]");
  EXPECT_EQ(readValue("<true>x</true>"), "absent");
  EXPECT_EQ(readValue("<false>x</false>"), "absent");
}

TEST(XMLReader, ReadsIntegers) {
  EXPECT_EQ(readValue("<integer>0</integer>"), "0");
  EXPECT_EQ(readValue("<integer> +12\n</integer>"), "12");
  EXPECT_EQ(readValue("<integer>-0x1F</integer>"), "-31");
  EXPECT_EQ(readValue("<integer>0XfF</integer>"), "255");
  EXPECT_EQ(readValue("<integer>-9223372036854775808</integer>"), "-9223372036854775808");
  EXPECT_EQ(readValue("<integer>9223372036854775808</integer>"), "9223372036854775808");
  EXPECT_EQ(readValue("<integer>18446744073709551615</integer>"), "18446744073709551615");
}

TEST(XMLReader, RefusesMalformedIntegersAndThoseBeyond64Bits) {
  for (const char* text : {"", "-", "0x", "1.0", "1a", "--1", "1 2", "-9223372036854775809", "18446744073709551616",
                           "0x10000000000000000"}) {
    EXPECT_EQ(readValue("<integer>"s + text + "</integer>"), "absent") << text;
  }
  EXPECT_EQ(readValue("<integer/>"), "absent");
}

TEST(XMLReader, ReadsReals) {
  const auto real = [](double value) { return "{\"real\":\"" + hexadecimalBits(value) + "\"}"; };
  EXPECT_EQ(readValue("<real>1.5</real>"), real(1.5));
  EXPECT_EQ(readValue("<real> +2e3 </real>"), real(2000));
  EXPECT_EQ(readValue("<real>-0.0</real>"), real(-0.0));
  EXPECT_EQ(readValue("<real>7</real>"), real(7));
  EXPECT_EQ(readValue("<real>-infinity</real>"), real(-HUGE_VAL));
  EXPECT_EQ(readValue("<real>+inf</real>"), real(HUGE_VAL));
  EXPECT_EQ(readValue("<real>nan</real>"), real(NAN));
  EXPECT_EQ(readValue("<real>0.1</real>"), real(0.1));
}

TEST(XMLReader, RefusesMalformedRealsAndThoseOutOfRange) {
  for (const char* text : {"", "-", "+-1", "--1", "1.5x", "1,5", "0x1p3", "1e999", "1e-999"}) {
    EXPECT_EQ(readValue("<real>"s + text + "</real>"), "absent") << text;
  }
}

TEST(XMLReader, ReadsDates) {
  const auto date = [](double seconds) { return "{\"date\":\"" + hexadecimalBits(seconds) + "\"}"; };
  EXPECT_EQ(readValue("<date>2001-01-01T00:00:00Z</date>"), date(0));
  EXPECT_EQ(readValue("<date> 2001-01-02T03:04:05Z </date>"), date(97445));
  EXPECT_EQ(readValue("<date>1970-01-01T00:00:00Z</date>"), date(-978307200));
  EXPECT_EQ(readValue("<date>2000-02-29T23:59:59Z</date>"), date(-26438401));
  EXPECT_EQ(readValue("<date>0001-01-01T00:00:00Z</date>"), date(-63113904000));
}

TEST(XMLReader, RefusesMalformedDates) {
  for (const char* text :
       {"", "2001-01-01", "2001-01-01T00:00:00", "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z", "2001-02-29T00:00:00Z",
        "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01T00:00:60Z", "2001-01-01T00:00:00+00:00",
        "01-01-01T00:00:00Z", "2001-01-01T00:00:00Zx", "2001-1-01T00:00:00Z", "2001-01-01 00:00:00Z"}) {
    EXPECT_EQ(readValue("<date>"s + text + "</date>"), "absent") << text;
  }
}

TEST(XMLReader, ReadsData) {
  EXPECT_EQ(readValue("<data></data>"), R"({"data":""})");
  EXPECT_EQ(readValue("<data/>"), R"({"data":""})");
  EXPECT_EQ(readValue("<data>\n\tAP96\n\tAA==\n\t</data>"), R"({"data":"00ff7a00"})");
  EXPECT_EQ(readValue("<data>+/8=</data>"), R"({"data":"fbff"})");
}

TEST(XMLReader, RefusesMalformedData) {
  for (const char* text : {"A", "AA", "AAA", "AA=", "A===", "====", "AA==AAAA", "A=AA", "AA*A", "AA-_"}) {
    EXPECT_EQ(readValue("<data>"s + text + "</data>"), "absent") << text;
  }
}

TEST(XMLReader, ResolvesReferences) {
  EXPECT_EQ(readValue("<string>&lt;&gt;&amp;&quot;&apos;</string>"), R"("<>&\"'")");
  EXPECT_EQ(readValue("<string>&#65;&#x42;&#xe9;&#x1F600;&#13;</string>"), "\"AB\u00E9\U0001F600\\u000d\"");
  EXPECT_EQ(readValue("<dict><key>a&amp;b</key><integer>&#49;</integer></dict>"), R"({"dict":{"a&b":1}})");
}

TEST(XMLReader, RefusesReferencesToAnythingElse) {
  for (const char* text :
       {"&", "&;", "&nbsp;", "&lt", "&#;", "&#x;", "&#xG;", "&#1114112;", "&#xD800;", "&#0;", "&#1;", "&#xFFFE;",
        "&#99999999999999999999;", "&#4294967361;", "& lt;", "&LT;", "&#X41;", "&#-1;"}) {
    EXPECT_EQ(readValue("<string>"s + text + "</string>"), "absent") << text;
  }
}

TEST(XMLReader, IncludesCDATASections) {
  EXPECT_EQ(readValue("<string>a<![CDATA[<b>&amp;]]]>c<![CDATA[]]></string>"), R"("a<b>&amp;]c")");
  EXPECT_EQ(readValue("<string><![CDATA[a</string>"), "absent");
  EXPECT_EQ(readValue("<string>a]]></string>"), "absent") << "the end of a section without its start";
}

TEST(XMLReader, SkipsCommentsAndProcessingInstructions) {
  EXPECT_EQ(read("<!-- a --><?b <c>?><plist><!-- <true/> --><array><?d?><true/><!---->\n</array><!-- - --></plist>"
                 "<!-- e --> <?f?>\n"),
            "[true]");
  EXPECT_EQ(readValue("<string>a<!-- b -->c<?d e?>f</string>"), R"("acf")");
  EXPECT_EQ(readValue("<!-- <true/>"), "absent");
  EXPECT_EQ(readValue("<?a <true/>"), "absent");
}

TEST(XMLReader, ReadsEveryLineEndAsALineFeed) {
  EXPECT_EQ(readValue("<string>a\r\nb\rc\r\r\n<![CDATA[d\r\n]]></string>"), R"("a\u000ab\u000ac\u000a\u000ad\u000a")");
}

TEST(XMLReader, SkipsADocumentTypeWithItsInternalSubset) {
  EXPECT_EQ(read("<!DOCTYPE plist [\n<!ELEMENT a (b)> <!-- ]> ' --> <?x ]> \" ?>\n"
                 "<!ENTITY c \"]>\"> <!ATTLIST d e CDATA '<'>\n]><true/>"),
            "true");
  EXPECT_EQ(read("<!DOCTYPE plist><true/>"), "true");
}

TEST(XMLReader, NeverExpandsWhatADocumentTypeDeclares) {
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY a \"b\">]><string>&a;</string>"), "absent");
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/hostname\">]><string>&a;</string>"), "absent");
  EXPECT_EQ(read("<!DOCTYPE plist [<!ENTITY lt \"b\">]><string>&lt;</string>"), R"("<")");
}

TEST(XMLReader, RefusesADocumentTypeThatDoesNotEnd) {
  for (const char* type : {"<!DOCTYPE plist", "<!DOCTYPE plist [<!ENTITY a \"b>]>", "<!DOCTYPE plist [<!-- ]>",
                           "<!DOCTYPE plist [<?a ]>", "<!DOCTYPE plist [<!ELEMENT a ]>"}) {
    EXPECT_EQ(read(type + "<true/>"s), "absent") << type;
  }
}

TEST(XMLReader, SkipsAttributes) {
  EXPECT_EQ(read("<plist version = '1.0' xmlns:a=\"b>c\"><string a='\"'>d</string ></plist >"), R"("d")");
  for (const char* tag :
       {"<true a>", "<true a'b'>", "<true a=>", "<true a=b>", "<true a='b>", "<true a='<'>", "<true =''>", "<true /"}) {
    EXPECT_EQ(readValue("<array>"s + tag + "</true></array>"), "absent") << tag;
  }
}

TEST(XMLReader, RefusesElementsInTheWrongPlace) {
  for (const char* value : {"",
                            "a",
                            "<true/><true/>",
                            "<key>a</key>",
                            "<plist><true/></plist>",
                            "<array><key>a</key></array>",
                            "<dict><true/></dict>",
                            "<dict><key>a</key></dict>",
                            "<dict><key>a</key><key>b</key></dict>",
                            "<dict><key>a</key><true/><true/></dict>",
                            "<dict></key>a</key><true/></dict>",
                            "<dict><string>a</string><true/></dict>",
                            "<array></string>a</string></array>",
                            "<array>a</array>",
                            "<dict>a</dict>",
                            "<dict><key>a</key>b<true/></dict>",
                            "<string><true/></string>",
                            "<null/>",
                            "<String>a</String>",
                            "<array><true/></dict>",
                            "</true>",
                            "<array>",
                            "<dict><key><true/></key><true/></dict>",
                            "<array></array></array>",
                            "<string>a</key>",
                            "<true/>a",
                            "<dict></key><true/></dict>",
                            "<array>&lt;</array>",
                            "<array><![CDATA[ ]]></array>"}) {
    EXPECT_EQ(readValue(value), "absent") << value;
  }
}

TEST(XMLReader, RefusesWhatIsNotOneElement) {
  for (const char* document :
       {"", " ", "<", "<>", "< true/>", "<plist/>", "<plist></plist>", "<true/><true/>", "<true/>x", "x<true/>",
        "<!DOCTYPE plist>", "<?xml version=\"1.0\"?>", "</plist>", "</plist><true/></plist>", "<plist/><true/></plist>",
        "<plist><true/>", "<true/></true>", "<!DOCTYPE a><!DOCTYPE b><true/>"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(XMLReader, RefusesCharactersThatXMLExcludes) {
  for (const auto& text : {"\x01"s, "\x00"s, "\x0B"s, "\x1F"s, "\uFFFE"s, "\uFFFF"s}) {
    EXPECT_EQ(readValue("<string>a" + text + "</string>"), "absent") << hexadecimal(text);
  }
  EXPECT_EQ(readValue("<string>\t\x7F\uFFFD</string>"), "\"\\u0009\\u007f\uFFFD\"");
}

TEST(XMLReader, RefusesEncodingsItDoesNotKnow) {
  const auto declared = [](const std::string& encoding) {
    return read("<?xml version='1.0' encoding=" + encoding + "?><true/>");
  };
  EXPECT_EQ(declared("'utf-8'"), "true");
  EXPECT_EQ(declared("\"UTF-16\""), "true") << "of a document that had the mark of UTF-16";
  EXPECT_EQ(declared("'us-ascii'"), "true");
  EXPECT_EQ(declared("'ISO-8859-1'"), "absent");
  EXPECT_EQ(declared("'Shift_JIS'"), "absent");
  EXPECT_EQ(declared("utf-8"), "absent");
}

TEST(XMLReader, TakesNoOtherInstructionForTheDeclaration) {
  EXPECT_EQ(read("<?xml-stylesheet href='encoding.css' encoding='latin1'?><true/>"), "true");
  EXPECT_EQ(read("<?xmlencoding='latin1'?><true/>"), "true");
  EXPECT_EQ(read("<?xml\n\tencoding = 'latin1'?><true/>"), "absent");
  EXPECT_EQ(read("<?xml"), "absent");
}

TEST(XMLReader, ReadsNestingOf512AndRefusesDeeper) {
  const auto nested = [](std::size_t depth, const std::string& start, const std::string& end) {
    std::string document;
    for (std::size_t index = 0; index < depth; ++index) document += start;
    document += "<true/>";
    for (std::size_t index = 0; index < depth; ++index) document += end;
    return "<plist>" + document + "</plist>";
  };
  EXPECT_TRUE(readXMLPropertyList(nested(512, "<array>", "</array>")));
  EXPECT_FALSE(readXMLPropertyList(nested(513, "<array>", "</array>")));
  EXPECT_TRUE(readXMLPropertyList(nested(512, "<dict><key/>", "</dict>")));
  EXPECT_FALSE(readXMLPropertyList(nested(513, "<dict><key/>", "</dict>")));
}

TEST(XMLReader, RefusesEveryPrefixOfADocument) {
  const std::string document =
      "<?xml version='1.0'?><!DOCTYPE plist [<!ENTITY a "
      "'b'>]><plist><dict><key>a</key><array><string>b&lt;<![CDATA[c]]>"
      "</string><data>AAAA</data><integer>1</integer><!-- d --></array></dict></plist>";
  ASSERT_EQ(read(document), R"({"dict":{"a":["b<c",{"data":"000000"},1]}})");
  for (std::size_t length = 0; length < document.size(); ++length) {
    EXPECT_EQ(read(document.substr(0, length)), "absent") << length;
  }
}

}  // namespace

}  // namespace zk::test
