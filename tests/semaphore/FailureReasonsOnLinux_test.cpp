// In which language the reasons are. This system takes the wanted languages from the environment.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"

namespace zk {
namespace {

/// The program that prints a reason of each table, in a bundle of its own.
class FailureReasonsInABundle : public testing::Test {
 protected:
  FailureReasonsInABundle() {
    test::writeFile(folder / "X.app/Contents/Info.plist", "{}");
    std::filesystem::create_directories(program.parent_path());
    std::filesystem::copy_file(ZK_FAILURE_REASONS_PROGRAM, program);
  }

  /// What the program prints in a surrounding with these language settings. It fails if a look-up changes errno.
  std::string printed(const std::string& settings) const {
    return test::outputOf("env -u LANGUAGE -u LC_ALL -u LC_MESSAGES -u LANG " + settings + " '" + program.string() +
                          "'");
  }

  test::TemporaryFolder folder;
  const std::filesystem::path program = folder / "X.app/Contents/MacOS/program";
};

TEST_F(FailureReasonsInABundle, AreInTheLanguageOfItsTranslations) {
  test::writeFile(
      folder / "X.app/Contents/Resources/de.lproj/Localizable.strings",
      "\"Named semaphore does not exist.\" = \"Die Semaphore gibt es nicht.\";\n"
      "\"The semaphore is already locked.\" = \"Die Semaphore ist vergeben.\";\n"
      "\"Permission is denied to remove the semaphore.\" = \"Die Semaphore darf nicht entfernt werden.\";\n");
  EXPECT_EQ(printed("LANG=de_AT.UTF-8"),
            "Die Semaphore gibt es nicht.\nDie Semaphore ist vergeben.\nDie Semaphore darf nicht entfernt werden.\n"
            "Not a valid semaphore descriptor.\n");
}

TEST_F(FailureReasonsInABundle, AreInEnglishWithoutTranslations) {
  for (const char* settings : {"", "LANG=de_AT.UTF-8", "LANGUAGE=fr:it"}) {
    EXPECT_EQ(printed(settings),
              "Named semaphore does not exist.\nThe semaphore is already locked.\n"
              "Permission is denied to remove the semaphore.\nNot a valid semaphore descriptor.\n");
  }
}

}  // namespace
}  // namespace zk
