// In which language a bundle's texts are. This system takes the wanted languages from the environment.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <barrier>
#include <cerrno>
#include <thread>
#include <vector>

#include "LanguageEnvironment.h"
#include "MainBundle.h"
#include "files/NSBundle.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kEmpty[] = "<plist><dict></dict></plist>";

std::string bytes(const Ref<NSString>& text) { return text ? text->bytes() : "(absent)"; }

class TranslationTest : public ::testing::Test {
 protected:
  TranslationTest() { write("X.app/Contents/Info.plist", kEmpty); }

  Ref<NSBundle> bundle(std::string_view name) const { return NSBundle::bundleWithURL(folder.url(name)); }
  void write(std::string_view name, std::string_view content) const { writeFile(folder / name, content); }

  void translate(const std::string& language, const std::string& key, const std::string& text) const {
    write("X.app/Contents/Resources/" + language + ".lproj/Localizable.strings", "\"" + key + "\" = \"" + text + "\";");
  }
  /// The translation by a bundle made afresh.
  std::string translation(const Ref<NSString>& key, const Ref<NSString>& value = nullptr,
                          const Ref<NSString>& table = nullptr) const {
    return bytes(bundle("X.app")->localizedStringForKey(key, value, table));
  }

  const TemporaryFolder folder;
};

TEST_F(TranslationTest, OfTheMainBundleComesFromAroundTheProgram) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  translate("de", "greeting", "Hallo");
  EXPECT_EQ(mainBundleOf(folder / "X.app/Contents/MacOS/tool"), (folder / "X.app").string() + "\nHallo\n");
  write("bin/de.lproj/Localizable.strings", "greeting = \"Hallo\";");
  EXPECT_EQ(mainBundleOf(folder / "bin/tool"), (folder / "bin").string() + "\nHallo\n");
}

TEST_F(TranslationTest, IsTheKeyIfNothingIsFound) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  EXPECT_EQ(translation("greeting"_ns), "greeting");
  EXPECT_EQ(translation("greeting"_ns, ""_ns), "greeting");
  EXPECT_EQ(translation("greeting"_ns, "value"_ns), "value");
  translate("fr", "greeting", "salut");
  EXPECT_EQ(translation("greeting"_ns), "greeting");
}

TEST_F(TranslationTest, ComesFromTheLanguagesFolder) {
  const LanguageEnvironment environment({{"LANG", "de_AT.UTF-8"}});
  translate("de", "greeting", "Hallo");
  EXPECT_EQ(translation("greeting"_ns, "value"_ns), "Hallo");
  EXPECT_EQ(translation("Greeting"_ns), "Greeting");
  translate("de-AT", "greeting", "Servus");
  EXPECT_EQ(translation("greeting"_ns), "Servus");
  translate("de_AT", "greeting", "Grüß Gott");
  EXPECT_EQ(translation("greeting"_ns), "Grüß Gott");
}

TEST_F(TranslationTest, ComesFromTheMostWantedLanguageThatHasIt) {
  const LanguageEnvironment environment({{"LANGUAGE", "fr:de"}, {"LANG", "it"}});
  translate("it", "greeting", "ciao");
  EXPECT_EQ(translation("greeting"_ns), "ciao");
  translate("de", "greeting", "Hallo");
  EXPECT_EQ(translation("greeting"_ns), "Hallo");
  translate("fr", "another", "autre");
  EXPECT_EQ(translation("greeting"_ns), "Hallo");
  translate("fr", "greeting", "salut");
  EXPECT_EQ(translation("greeting"_ns), "salut");
}

TEST_F(TranslationTest, ComesFromTheTableAskedFor) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  write("X.app/Contents/Resources/de.lproj/Other.strings", "greeting = \"Tag\";");
  EXPECT_EQ(translation("greeting"_ns, nullptr, "Other"_ns), "Tag");
  EXPECT_EQ(translation("greeting"_ns, nullptr, ""_ns), "greeting");
  translate("de", "greeting", "Hallo");
  EXPECT_EQ(translation("greeting"_ns, nullptr, ""_ns), "Hallo");
  EXPECT_EQ(translation("greeting"_ns, nullptr, "Missing"_ns), "greeting");
}

TEST_F(TranslationTest, IsReadFromWhereTheBundlesLayoutPutsIt) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  write("Y/Resources/Info.plist", kEmpty);
  write("Y/Resources/de.lproj/Localizable.strings", "greeting = \"Hallo\";");
  EXPECT_EQ(bytes(bundle("Y")->localizedStringForKey("greeting"_ns, nullptr, nullptr)), "Hallo");
  write("plain/de.lproj/Localizable.strings", "greeting = \"Hallo\";");
  EXPECT_EQ(bytes(bundle("plain")->localizedStringForKey("greeting"_ns, nullptr, nullptr)), "Hallo");
}

TEST_F(TranslationTest, AnythingButTextIsIgnored) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  write("X.app/Contents/Resources/de.lproj/Localizable.strings", "{ greeting = (Hallo); }");
  EXPECT_EQ(translation("greeting"_ns), "greeting");
  write("X.app/Contents/Resources/de.lproj/Localizable.strings", "worthless {");
  EXPECT_EQ(translation("greeting"_ns), "greeting");
}

TEST_F(TranslationTest, DoesNotWaitForAPipeInPlaceOfItsFile) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  fs::create_directories(folder / "X.app/Contents/Resources/de.lproj");
  ASSERT_EQ(::mkfifo((folder / "X.app/Contents/Resources/de.lproj/Localizable.strings").c_str(), 0666), 0);
  EXPECT_EQ(translation("greeting"_ns), "greeting");
}

TEST_F(TranslationTest, IsReadOnce) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  translate("de", "greeting", "Hallo");
  const Ref<NSBundle> app = bundle("X.app");
  const auto greeting = [&app] { return bytes(app->localizedStringForKey("greeting"_ns, nullptr, nullptr)); };
  EXPECT_EQ(greeting(), "Hallo");
  translate("de", "greeting", "Tag");
  EXPECT_EQ(greeting(), "Hallo");
  fs::remove_all(folder / "X.app");
  EXPECT_EQ(greeting(), "Hallo");
}

TEST_F(TranslationTest, AMissingTranslationIsLookedForOnce) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  const Ref<NSBundle> app = bundle("X.app");
  EXPECT_EQ(bytes(app->localizedStringForKey("greeting"_ns, nullptr, nullptr)), "greeting");
  translate("de", "greeting", "Hallo");
  EXPECT_EQ(bytes(app->localizedStringForKey("greeting"_ns, nullptr, nullptr)), "greeting");
}

TEST_F(TranslationTest, IsReadOnceEvenForSeveralThreads) {
  const LanguageEnvironment environment({{"LANG", "de"}});
  translate("de", "greeting", "Hallo");
  const Ref<NSBundle> app = bundle("X.app");
  std::vector<std::string> found(8);
  std::barrier start(static_cast<std::ptrdiff_t>(found.size()));
  std::vector<std::thread> threads;
  threads.reserve(found.size());
  for (std::string& text : found) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (const Ref<NSString>& table : {"Localizable"_ns, "Other"_ns, "Another"_ns}) {
        text += bytes(app->localizedStringForKey("greeting"_ns, nullptr, table)) + " ";
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(found, std::vector<std::string>(found.size(), "Hallo greeting greeting "));
}

TEST_F(TranslationTest, KeepsTheErrorNumber) {
  const LanguageEnvironment environment({{"LANGUAGE", "de:fr"}, {"LANG", "it"}});
  translate("fr", "greeting", "salut");
  const Ref<NSBundle> app = bundle("X.app");
  for (int count = 0; count < 2; ++count) {
    errno = EAGAIN;
    app->localizedStringForKey("greeting"_ns, nullptr, nullptr);
    EXPECT_EQ(errno, EAGAIN);
    errno = EAGAIN;
    app->localizedStringForKey("missing"_ns, nullptr, nullptr);
    EXPECT_EQ(errno, EAGAIN);
  }
}

}  // namespace

}  // namespace zk::test
