#include "process/NSUserDefaults.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/ForwardingSystem.h"

namespace zk::test {

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

class SystemWithArguments final : public ForwardingSystem {
 public:
  explicit SystemWithArguments(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}
  std::vector<std::string> arguments() override { return arguments_; }

 private:
  std::vector<std::string> arguments_;
};

/// The text under `key` when the program is started with `arguments`; "(absent)" if there is none.
std::string text(std::vector<std::string> arguments, const char* key = "key") {
  arguments.insert(arguments.begin(), "program");
  SystemWithArguments system(std::move(arguments));
  const System::Scope scope(system);
  const Ref<NSString> value = NSUserDefaults::standardUserDefaults().stringForKey(NSString::stringWithUTF8String(key));
  return value ? value->bytes() : "(absent)";
}

std::int64_t integer(const std::string& value) {
  SystemWithArguments system({"program", "-key", value});
  const System::Scope scope(system);
  return NSUserDefaults::standardUserDefaults().integerForKey("key"_ns);
}

bool boolean(const std::string& value) {
  SystemWithArguments system({"program", "-key", value});
  const System::Scope scope(system);
  return NSUserDefaults::standardUserDefaults().boolForKey("key"_ns);
}

TEST(ArgumentDomain, IsEmptyWithoutArguments) {
  EXPECT_EQ(text({}), "(absent)");
  SystemWithArguments nothing({});
  const System::Scope scope(nothing);
  EXPECT_FALSE(NSUserDefaults::standardUserDefaults().stringForKey("key"_ns));
  EXPECT_EQ(NSUserDefaults::standardUserDefaults().integerForKey("key"_ns), 0);
  EXPECT_FALSE(NSUserDefaults::standardUserDefaults().boolForKey("key"_ns));
}

TEST(ArgumentDomain, HoldsPairsOfAKeyAndAValue) {
  EXPECT_EQ(text({"-key", "value"}), "value");
  EXPECT_EQ(text({"-other", "x", "-key", "value", "-third", "y"}), "value");
  EXPECT_EQ(text({"-other", "x"}), "(absent)");
}

TEST(ArgumentDomain, DoesNotTakeTheProgramsOwnNameForAKey) {
  SystemWithArguments system({"-key", "value"});
  const System::Scope scope(system);
  EXPECT_FALSE(NSUserDefaults::standardUserDefaults().stringForKey("key"_ns));
}

TEST(ArgumentDomain, TakesAValueAsItIs) {
  for (const char* value : {" a b ", "", "{a = 1;}", "\"quoted\"", "<plist/>", "a=b", "\xFF\xFE", "key", "1", "é"}) {
    EXPECT_EQ(text({"-key", value}), value);
  }
}

TEST(ArgumentDomain, ComparesKeysByteByByte) {
  EXPECT_EQ(text({"-Key", "value"}), "(absent)");
  EXPECT_EQ(text({"-keys", "value"}), "(absent)");
  EXPECT_EQ(text({"-ke", "value"}), "(absent)");
  EXPECT_EQ(text({"--key", "value"}), "(absent)");
  EXPECT_EQ(text({"--key", "value"}, "-key"), "value");
  EXPECT_EQ(text({"-a key", "value"}, "a key"), "value");
  EXPECT_EQ(text({"-com.example.Key", "value"}, "com.example.Key"), "value");
}

TEST(ArgumentDomain, HoldsTheEmptyTextForAKeyDirectlyBeforeAnother) {
  EXPECT_EQ(text({"-key", "-other", "value"}), "");
  EXPECT_EQ(text({"-key", "-other", "value"}, "other"), "value");
  EXPECT_EQ(text({"-key", "-key", "value"}), "value");
  EXPECT_EQ(text({"-key", "--other"}), "");
}

TEST(ArgumentDomain, HoldsTheEmptyTextForAKeyThatComesLast) {
  EXPECT_EQ(text({"-key"}), "");
  EXPECT_EQ(text({"-other", "value", "-key"}), "");
}

TEST(ArgumentDomain, TakesAHyphenFollowedByADigitForAValue) {
  EXPECT_EQ(text({"-key", "-1"}), "-1");
  EXPECT_EQ(text({"-key", "-0x"}), "-0x");
  EXPECT_EQ(text({"-key", "-9", "-other", "x"}, "other"), "x");
  EXPECT_EQ(text({"-1", "value"}, "1"), "(absent)");
  EXPECT_EQ(text({"-key", "-.5"}), "");
  EXPECT_EQ(text({"-key", "-\xD9\xA1"}), "") << "digits of other scripts are letters here";
}

TEST(ArgumentDomain, TakesTheLastOfAKeyGivenTwice) {
  EXPECT_EQ(text({"-key", "one", "-key", "two"}), "two");
  EXPECT_EQ(text({"-key", "one", "-other", "x", "-key"}), "");
  EXPECT_EQ(text({"-key", "one", "-key", "-other"}), "");
}

TEST(ArgumentDomain, IgnoresStrayWords) {
  EXPECT_EQ(text({"stray", "-key", "value"}), "value");
  EXPECT_EQ(text({"-other", "x", "stray", "words", "-key", "value"}), "value");
  EXPECT_EQ(text({"-key", "value", "stray"}), "value");
  EXPECT_EQ(text({"key", "value"}), "(absent)");
}

TEST(ArgumentDomain, IgnoresLoneHyphens) {
  EXPECT_EQ(text({"-", "-key", "value"}), "value");
  EXPECT_EQ(text({"--", "-key", "value"}), "value");
  EXPECT_EQ(text({"-", "value"}, ""), "(absent)");
  EXPECT_EQ(text({"--", "value"}, "-"), "(absent)");
}

TEST(ArgumentDomain, TakesLoneHyphensAfterAKeyForItsValue) {
  EXPECT_EQ(text({"-key", "-"}), "-");
  EXPECT_EQ(text({"-key", "--"}), "--");
  EXPECT_EQ(text({"-key", "--", "value"}), "--");
}

TEST(ArgumentDomain, IsReadAfreshEachTime) {
  EXPECT_EQ(text({"-key", "one"}), "one");
  EXPECT_EQ(text({"-key", "two"}), "two");
}

TEST(ArgumentDomain, CopesWithVeryManyAndVeryLongArguments) {
  std::vector<std::string> arguments(100'000, "-key");
  EXPECT_EQ(text(arguments), "");
  arguments.assign(100'000, "-");
  arguments.push_back("-key");
  arguments.push_back(std::string(1'000'000, '-'));
  EXPECT_EQ(text(arguments), "") << "a long row of hyphens is a key";
  arguments.back() = std::string(1'000'000, 'x');
  EXPECT_EQ(text(arguments), arguments.back());
}

TEST(TextToInteger, ReadsDecimalDigits) {
  EXPECT_EQ(integer("0"), 0);
  EXPECT_EQ(integer("42"), 42);
  EXPECT_EQ(integer("0042"), 42);
  EXPECT_EQ(integer("4294967296"), 4294967296);
}

TEST(TextToInteger, ReadsASign) {
  EXPECT_EQ(integer("-42"), -42);
  EXPECT_EQ(integer("+42"), 42);
  EXPECT_EQ(integer("-0"), 0);
}

TEST(TextToInteger, SkipsWhiteSpaceBeforeIt) {
  EXPECT_EQ(integer(" \t\n\v\f\r42"), 42);
  EXPECT_EQ(integer("  -42"), -42);
}

TEST(TextToInteger, StopsAtTheFirstNonDigit) {
  EXPECT_EQ(integer("42 "), 42);
  EXPECT_EQ(integer("42abc"), 42);
  EXPECT_EQ(integer("42.9"), 42);
  EXPECT_EQ(integer("4 2"), 4);
  EXPECT_EQ(integer("0x10"), 0);
  EXPECT_EQ(integer("1e3"), 1);
}

TEST(TextToInteger, ReadsAnythingElseAsZero) {
  for (const char* value :
       {"", " ", "abc", "+", "- 1", "+-1", "--1", ".5", "YES", "true", "\xC2\xA0\x34\x32", "\xD9\xA1"}) {
    EXPECT_EQ(integer(value), 0) << value;
  }
}

TEST(TextToInteger, SaturatesAt64Bits) {
  EXPECT_EQ(integer("9223372036854775806"), kLargest - 1);
  EXPECT_EQ(integer("9223372036854775807"), kLargest);
  EXPECT_EQ(integer("9223372036854775808"), kLargest);
  EXPECT_EQ(integer("9223372036854775810"), kLargest);
  EXPECT_EQ(integer("18446744073709551616"), kLargest);
  EXPECT_EQ(integer(std::string(1000, '9')), kLargest);
  EXPECT_EQ(integer("-9223372036854775807"), kSmallest + 1);
  EXPECT_EQ(integer("-9223372036854775808"), kSmallest);
  EXPECT_EQ(integer("-9223372036854775809"), kSmallest);
  EXPECT_EQ(integer("-" + std::string(1000, '9')), kSmallest);
}

TEST(TextToBoolean, IsTrueForWordsThatBeginWithYesOrTrue) {
  for (const char* value : {"Y", "y", "YES", "yes", "T", "t", "true", "TRUE", "yawn", "table"}) {
    EXPECT_TRUE(boolean(value)) << value;
  }
}

TEST(TextToBoolean, IsTrueForNumbersOtherThanZero) {
  for (const char* value : {"1", "2", "9", "10", "-1", "+1", "001", "-0001", "1.5"}) {
    EXPECT_TRUE(boolean(value)) << value;
  }
}

TEST(TextToBoolean, SkipsWhiteSpaceASignAndZeros) {
  for (const char* value : {" \t\n\v\f\rYES", " +0001", "+Y", "+t", "00y", "-00true"}) {
    EXPECT_TRUE(boolean(value)) << value;
  }
}

TEST(TextToBoolean, IsFalseForAnythingElse) {
  for (const char* value : {"", " ", "NO", "no", "N", "false", "F", "0", "00", "-0", "+00", "on", "x", "+-1", "--1",
                            "0 1", "0.5", "- 1", "\xD9\xA1"}) {
    EXPECT_FALSE(boolean(value)) << value;
  }
}

}  // namespace

}  // namespace zk::test
