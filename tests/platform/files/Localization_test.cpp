#include "files/Localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LanguageEnvironment.h"

namespace zk::test {

namespace {

using ::testing::ElementsAre;

TEST(WantedLanguages, AreNoneIfTheEnvironmentAsksForNone) {
  const LanguageEnvironment environment({});
  EXPECT_THAT(wantedLanguages(), ElementsAre());
}

TEST(WantedLanguages, AreTriedAsWrittenThenWithHyphensThenWithoutTheRegion) {
  const LanguageEnvironment environment({{"LANG", "pt_BR.UTF-8"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("pt_BR", "pt-BR", "pt"));
}

TEST(WantedLanguages, LoseTheirLastPartsOneByOne) {
  const LanguageEnvironment environment({{"LANG", "zh-Hant-TW"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("zh-Hant-TW", "zh-Hant", "zh"));
}

TEST(WantedLanguages, AreNotTriedTwice) {
  const LanguageEnvironment environment({{"LANGUAGE", "de:de_AT:de"}, {"LANG", "de_AT"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("de", "de_AT", "de-AT"));
}

TEST(WantedLanguages, LoseTheirEncodingAndTheirVariant) {
  for (const char* locale : {"sr.UTF-8", "sr@latin", "sr.UTF-8@latin", "sr"}) {
    const LanguageEnvironment environment({{"LANG", locale}});
    EXPECT_THAT(wantedLanguages(), ElementsAre("sr")) << locale;
  }
}

TEST(WantedLanguages, TakeTheListBeforeTheLocale) {
  const LanguageEnvironment environment(
      {{"LANGUAGE", "fr:it"}, {"LC_ALL", "de"}, {"LC_MESSAGES", "es"}, {"LANG", "nl"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("fr", "it", "de"));
}

TEST(WantedLanguages, TakeTheFirstLocaleVariableThatIsSet) {
  {
    const LanguageEnvironment environment({{"LC_MESSAGES", "es"}, {"LANG", "nl"}});
    EXPECT_THAT(wantedLanguages(), ElementsAre("es"));
  }
  {
    const LanguageEnvironment environment({{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "nl"}});
    EXPECT_THAT(wantedLanguages(), ElementsAre("nl"));
  }
}

TEST(WantedLanguages, AreNeverPaths) {
  for (const char* locale : {"/etc", "../de", "de/../fr", "..", ".", "/", "_/x"}) {
    const LanguageEnvironment environment({{"LANGUAGE", locale}, {"LANG", locale}});
    EXPECT_THAT(wantedLanguages(), ElementsAre()) << locale;
  }
}

TEST(WantedLanguages, KeepARegionWithoutALanguage) {
  const LanguageEnvironment environment({{"LANG", "_DE"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("_DE", "-DE"));
}

TEST(WantedLanguages, SkipEmptyNamesInTheList) {
  const LanguageEnvironment environment({{"LANGUAGE", "::de::.UTF-8:@x:fr:"}});
  EXPECT_THAT(wantedLanguages(), ElementsAre("de", "fr"));
}

}  // namespace

}  // namespace zk::test
