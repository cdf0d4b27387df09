#include "plist/TextReader.h"

#include <gtest/gtest.h>

#include "platform/plist/PropertyListText.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

std::string read(std::string_view document) { return jsonFromPropertyList(readTextPropertyList(document)); }

TEST(TextReader, ReadsBareAndQuotedStrings) {
  EXPECT_EQ(read("hello"), R"("hello")");
  EXPECT_EQ(read("/usr/lib/a_b-c.d:$e"), R"("/usr/lib/a_b-c.d:$e")");
  EXPECT_EQ(read(R"("a b")"), R"("a b")");
  EXPECT_EQ(read("'a \"b\"'"), R"("a \"b\"")");
  EXPECT_EQ(read("\"two\nlines\""), R"("two\u000alines")");
  EXPECT_EQ(read("\"\""), R"("")");
  EXPECT_EQ(read("\"\u00E9\""), "\"\u00E9\"");
}

TEST(TextReader, ReadsEveryScalarAsText) { EXPECT_EQ(read("(12, 1.5, true)"), R"(["12","1.5","true"])"); }

TEST(TextReader, ReadsNothingFromADocumentWithoutAValue) {
  for (const char* document : {"", " \t\r\n\v\f", "/* nothing */", "// nothing", "\u2028\u2029"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ReadsArrays) {
  EXPECT_EQ(read("()"), "[]");
  EXPECT_EQ(read("( )"), "[]");
  EXPECT_EQ(read("(a)"), R"(["a"])");
  EXPECT_EQ(read("(a\u2028,\u2029b)"), R"(["a","b"])") << "Unicode's separators are white space";
  EXPECT_EQ(read("(a , (b),\"c\" )"), R"(["a",["b"],"c"])");
  EXPECT_EQ(read("(a,)"), R"(["a"])") << "a comma may follow the last value";
}

TEST(TextReader, RefusesMalformedArrays) {
  for (const char* document : {"(", "(a", "(a,", "(a b)", "(,)", "(a,,b)", "(a))", ")", "(a;)"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ReadsDictionaries) {
  EXPECT_EQ(read("{}"), R"({"dict":{}})");
  EXPECT_EQ(read("{ b = 1; \"a\" = (x); c={}; }"), R"({"dict":{"a":["x"],"b":"1","c":{"dict":{}}}})");
  EXPECT_EQ(read("{a=1;a=2;}"), R"({"dict":{"a":"2"}})") << "the last of equal keys";
}

TEST(TextReader, ReadsAKeyWithoutAnObjectAsItsOwnObject) {
  EXPECT_EQ(read("{a; b=1; c; d;}"), R"({"dict":{"a":"a","b":"1","c":"c","d":"d"}})");
}

TEST(TextReader, RefusesMalformedDictionaries) {
  for (const char* document : {"{", "{a", "{a=", "{a=b", "{a=b;", "{a=b}", "{=b;}", "{a=;}", "{a=b;;}", "{a=b;}}",
                               "{a=b,}", "{(a)=b;}", "{<61>=b;}", "}", "{a=b c;}"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ReadsEntriesWithoutBraces) {
  EXPECT_EQ(read("\"Hello\" = \"Bonjour\";\n/* x */ Bye = 'Salut';"), R"({"dict":{"Bye":"Salut","Hello":"Bonjour"}})");
  EXPECT_EQ(read("a;"), R"({"dict":{"a":"a"}})");
  EXPECT_EQ(read("a={b=c;};"), R"({"dict":{"a":{"dict":{"b":"c"}}}})");
}

TEST(TextReader, RefusesMalformedEntriesWithoutBraces) {
  for (const char* document : {"a=b", "a=b;}", "a b", "hello world", "a=b; c", "(a)=b;", "a=b;)", "a="}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ReadsData) {
  EXPECT_EQ(read("<>"), R"({"data":""})");
  EXPECT_EQ(read("< 0fbd 77\n1c2735ae >"), R"({"data":"0fbd771c2735ae"})");
  EXPECT_EQ(read("<0FBDfa>"), R"({"data":"0fbdfa"})");
}

TEST(TextReader, RefusesMalformedData) {
  for (const char* document : {"<", "<0", "<0>", "<0 f>", "<0g>", "<00", "<00/**/11>", "<00>>"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ResolvesEscapes) {
  EXPECT_EQ(read(R"("\a\b\f\n\r\t\v")"), R"("\u0007\u0008\u000c\u000a\u000d\u0009\u000b")");
  EXPECT_EQ(read(R"("\"\'\\\q")"), R"("\"'\\q")");
  EXPECT_EQ(read("\"a\\\nb\""), R"("a\u000ab")");
}

TEST(TextReader, ResolvesOctalEscapesInTheNextStepEncoding) {
  EXPECT_EQ(read(R"("\101\60\7")"), R"("A0\u0007")");
  EXPECT_EQ(read(R"("\1012")"), R"("A2")") << "no more than three digits";
  EXPECT_EQ(read(R"(("", "\0", "\0\0"))"), R"(["","\u0000","\u0000\u0000"])");
  EXPECT_EQ(read(R"("\341\256\377")"), "\"\u00C6\uFB01\uFFFD\"");
  EXPECT_EQ(read(R"("\8")"), R"("8")") << "no octal digit";
}

TEST(TextReader, ResolvesUnicodeEscapes) {
  EXPECT_EQ(read(R"("\U00e9\U41")"), "\"\u00E9A\"");
  EXPECT_EQ(read(R"("\U00e99")"), "\"\u00E99\"") << "no more than four digits";
  EXPECT_EQ(read(R"("\Ud83d\UDE00")"), "\"\U0001F600\"") << "two surrogates are one character";
  EXPECT_EQ(read(R"("\U")"), R"("U")");
  EXPECT_EQ(read(R"("\Ude00")"), R"("\udced\udcb8\udc80")") << "a lone surrogate";
}

TEST(TextReader, RefusesStringsThatDoNotEnd) {
  for (const char* document : {"\"", "\"a", "'a\"", "\"a\\", "\"a\\\"", "\"\\U", "\"\\1"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, SkipsCommentsBetweenTokens) {
  EXPECT_EQ(read("// one\n(/* two */a // three\r,b /**/)/* four */ // five"), R"(["a","b"])");
  EXPECT_EQ(read("(\"//\", \"/**/\")"), R"(["//","/**/"])") << "not inside strings";
  EXPECT_EQ(read("a//b"), R"("a//b")") << "not inside bare strings";
}

TEST(TextReader, RefusesCommentsThatDoNotEnd) {
  for (const char* document : {"/*", "a /*", "(a) /* *", "{a=b;} /*/", "a=b; /* "}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, RefusesCharactersThatBelongInQuotes) {
  for (const char* document : {"a+b", "\u00E9", "a@b", "*", "#", "a\x01", "\x7F"}) {
    EXPECT_EQ(read(document), "absent") << document;
  }
}

TEST(TextReader, ReadsNestingOf512AndRefusesDeeper) {
  const auto arrays = [](std::size_t depth) { return std::string(depth, '(') + std::string(depth, ')'); };
  EXPECT_TRUE(readTextPropertyList(arrays(512)));
  EXPECT_FALSE(readTextPropertyList(arrays(513)));

  const auto dictionaries = [](std::size_t depth) {
    std::string document;
    for (std::size_t index = 0; index < depth; ++index) document += "{a=";
    document += "b";
    for (std::size_t index = 0; index < depth; ++index) document += ";}";
    return document;
  };
  EXPECT_TRUE(readTextPropertyList(dictionaries(512)));
  EXPECT_FALSE(readTextPropertyList(dictionaries(513)));
  EXPECT_TRUE(readTextPropertyList("a=" + dictionaries(511) + ";"));
  EXPECT_FALSE(readTextPropertyList("a=" + dictionaries(512) + ";")) << "the braces left out count, too";
}

TEST(TextReader, RefusesEveryPrefixOfADocument) {
  const std::string document = R"({ "pid" = 12; path = ("/a\U00e9", <00ff>); })";
  ASSERT_EQ(read(document), "{\"dict\":{\"path\":[\"/a\u00E9\",{\"data\":\"00ff\"}],\"pid\":\"12\"}}");
  for (std::size_t length = 0; length < document.size(); ++length) {
    EXPECT_EQ(read(document.substr(0, length)), "absent") << length;
  }
}

}  // namespace

}  // namespace zk::test
