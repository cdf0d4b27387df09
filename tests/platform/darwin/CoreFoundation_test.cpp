#include "darwin/CoreFoundation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "StandInFoundation.h"

namespace zk::test {

namespace {

using darwin::OwnedObject;
using darwin::preferredLanguages;
using darwin::textOf;
using ::testing::ElementsAre;

constexpr char kComposed[] = "caf\u00E9.app";
constexpr char kDecomposed[] = "cafe\u0301.app";

class CoreFoundation : public ::testing::Test {
 protected:
  std::string fileSystemForm(std::string_view text) { return darwin::fileSystemForm(&foundation.functions, text); }

  StandInFoundation foundation;
};

TEST_F(CoreFoundation, TextsComeBackAsTheyWere) {
  for (const char* text : {"", "plain", kComposed, kDecomposed, "\u4E2D\u6587", "\U0001F600"}) {
    const OwnedObject object = darwin::makeText(foundation.functions, text);
    ASSERT_TRUE(object);
    EXPECT_EQ(textOf(foundation.functions, object.get()), text);
  }
}

TEST_F(CoreFoundation, ThereIsNoTextOfBytesThatAreNotUTF8) {
  EXPECT_FALSE(darwin::makeText(foundation.functions, "\xFF"));
}

TEST_F(CoreFoundation, OnlyATextHasAText) {
  EXPECT_EQ(textOf(foundation.functions, nullptr), std::nullopt);
  const OwnedObject number(foundation.functions, StandInFoundation::number());
  EXPECT_EQ(textOf(foundation.functions, number.get()), std::nullopt);
}

TEST_F(CoreFoundation, ATextThatCannotBeReadIsNone) {
  const OwnedObject object = darwin::makeText(foundation.functions, "text");
  foundation.functions.CFStringGetCString = [](auto, auto, auto, auto) -> unsigned char { return 0; };
  EXPECT_EQ(textOf(foundation.functions, object.get()), std::nullopt);
}

TEST_F(CoreFoundation, AnOwnedObjectIsReleasedOnceHoweverOftenItIsMoved) {
  OwnedObject first = darwin::makeText(foundation.functions, "first");
  OwnedObject second(std::move(first));
  EXPECT_TRUE(second);
  first = darwin::makeText(foundation.functions, "third");
  first = std::move(second);
  EXPECT_EQ(textOf(foundation.functions, first.get()), "first");
}

TEST_F(CoreFoundation, FileCallsGetTheDecomposedForm) {
  EXPECT_EQ(fileSystemForm(kComposed), kDecomposed);
  EXPECT_EQ(fileSystemForm(kDecomposed), kDecomposed);
}

TEST_F(CoreFoundation, APlainNameIsNotTranslated) {
  foundation.functions.CFStringCreateWithBytes = [](auto, auto, auto, auto, auto) -> darwin::Object {
    ADD_FAILURE() << "the framework is asked";
    return nullptr;
  };
  EXPECT_EQ(fileSystemForm("/Applications/Plain.app"), "/Applications/Plain.app");
  EXPECT_EQ(fileSystemForm(""), "");
}

TEST_F(CoreFoundation, ANameWithoutASystemsFormKeepsItsBytes) {
  EXPECT_EQ(fileSystemForm("\xFF\xFE"), "\xFF\xFE");
  EXPECT_EQ(fileSystemForm(std::string_view("\u00E9\0x", 4)), std::string_view("\u00E9\0x", 4));
  EXPECT_EQ(darwin::fileSystemForm(nullptr, kComposed), kComposed);
  foundation.functions.CFStringGetFileSystemRepresentation = [](auto, auto, auto) -> unsigned char { return 0; };
  EXPECT_EQ(fileSystemForm(kComposed), kComposed);
}

TEST_F(CoreFoundation, LanguagesComeInTheUsersOrder) {
  foundation.languages = StandInFoundation::array(
      {StandInFoundation::text("pt-BR"), StandInFoundation::text("zh-Hant-TW"), StandInFoundation::text("en")});
  EXPECT_THAT(preferredLanguages(&foundation.functions), ElementsAre("pt-BR", "zh-Hant-TW", "en"));
}

TEST_F(CoreFoundation, OnlyTextsAreLanguages) {
  foundation.languages = StandInFoundation::array({StandInFoundation::number(), StandInFoundation::text("de")});
  EXPECT_THAT(preferredLanguages(&foundation.functions), ElementsAre("de"));
}

TEST_F(CoreFoundation, ThereAreNoLanguagesWithoutAListOrTheFramework) {
  EXPECT_THAT(preferredLanguages(&foundation.functions), ElementsAre());
  EXPECT_THAT(preferredLanguages(nullptr), ElementsAre());
}

}  // namespace

}  // namespace zk::test
