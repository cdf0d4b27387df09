#include "files/NSBundle.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <vector>

#include "LanguageEnvironment.h"
#include "MainBundle.h"
#include "objects/NSData.h"
#include "plist/NSPropertyListSerialization.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kIdentified[] =
    "<plist><dict><key>CFBundleIdentifier</key><string>com.example.x</string></dict></plist>";
constexpr char kEmpty[] = "<plist><dict></dict></plist>";

std::string bytes(const Ref<NSString>& text) { return text ? text->bytes() : "(absent)"; }

// Before any other test, so that it is the first use.
TEST(MainBundle, KeepsTheErrorNumberAtItsFirstUse) {
  EXPECT_EQ(statusInChild([] {
              const LanguageEnvironment environment({{"LANGUAGE", "de:fr"}, {"LANG", "it"}});
              errno = EAGAIN;
              const Ref<NSBundle> bundle = NSBundle::mainBundle();
              EXPECT_EQ(errno, EAGAIN);
              bundle->localizedStringForKey("greeting"_ns, nullptr, nullptr);
              EXPECT_EQ(errno, EAGAIN);
            }),
            0);
}

class NSBundleTest : public ::testing::Test {
 protected:
  Ref<NSBundle> bundle(std::string_view name) const { return NSBundle::bundleWithURL(folder.url(name)); }
  std::string identifier(std::string_view name) const {
    const Ref<NSBundle> found = bundle(name);
    return found ? bytes(found->bundleIdentifier()) : "(no bundle)";
  }
  /// The executable's path inside the test's folder.
  std::string executable(std::string_view name) const {
    const std::string path = bytes(bundle(name)->executablePath());
    return path.starts_with(folder.path().string()) ? path.substr(folder.path().string().size() + 1) : path;
  }
  /// The bundle around an executable, as a path inside the test's folder.
  std::string around(std::string_view path) const {
    const Ref<NSBundle> found = NSBundle::bundleAroundExecutable(NSString::stringWithBytes((folder / path).string()));
    return found ? fs::path(found->bundleURL()->path()->bytes()).lexically_relative(folder.path()).string() : "(none)";
  }
  void write(std::string_view name, std::string_view content) const { writeFile(folder / name, content); }

  const TemporaryFolder folder;
};

TEST_F(NSBundleTest, IsAFolderInAnyOfThreeLayouts) {
  write("A.app/Contents/Info.plist", kIdentified);
  write("B.framework/Resources/Info.plist", kIdentified);
  write("C.bundle/Info.plist", kIdentified);
  for (const char* name : {"A.app", "B.framework", "C.bundle"}) EXPECT_EQ(identifier(name), "com.example.x") << name;
}

TEST_F(NSBundleTest, IsReadFromTheFirstLayoutThatItHas) {
  write("X/Contents/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><string>contents</string></dict></plist>");
  write("X/Resources/Info.plist",
        "<plist><dict><key>CFBundleIdentifier</key><string>resources</string></dict></plist>");
  write("X/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><string>flat</string></dict></plist>");
  EXPECT_EQ(identifier("X"), "contents");
  fs::remove(folder / "X/Contents/Info.plist");
  EXPECT_EQ(identifier("X"), "resources");
  fs::remove(folder / "X/Resources/Info.plist");
  EXPECT_EQ(identifier("X"), "flat");
}

TEST_F(NSBundleTest, KeepsItsLayoutEvenIfTheInfoThereIsWorthless) {
  write("X/Contents/Info.plist", "worthless: {");
  write("X/Info.plist", kIdentified);
  EXPECT_EQ(identifier("X"), "(absent)");
}

TEST_F(NSBundleTest, APlainFolderIsABundleWithoutAnIdentifier) {
  fs::create_directory(folder / "plain");
  EXPECT_EQ(identifier("plain"), "(absent)");
}

TEST_F(NSBundleTest, TheInsideOfABundleIsNotABundle) {
  write("X.app/Contents/Info.plist", kIdentified);
  write("Y/Resources/Info.plist", kIdentified);
  EXPECT_EQ(identifier("X.app/Contents"), "(absent)");
  EXPECT_EQ(identifier("Y/Resources"), "(absent)");
  write("Contents/Contents/Info.plist", kIdentified);
  EXPECT_EQ(identifier("Contents"), "(absent)");
}

TEST_F(NSBundleTest, OnlyAFolderIsABundle) {
  write("file", kIdentified);
  EXPECT_FALSE(bundle("file"));
  EXPECT_FALSE(bundle("missing"));
  EXPECT_FALSE(NSBundle::bundleWithURL(nullptr));
}

TEST_F(NSBundleTest, IsReadThroughLinks) {
  write("X.app/Contents/Info.plist", kIdentified);
  fs::create_directory_symlink("X.app", folder / "link");
  EXPECT_EQ(identifier("link"), "com.example.x");
  EXPECT_EQ(bundle("link")->bundleURL()->path()->bytes(), folder / "link");

  write("elsewhere.plist", kIdentified);
  fs::create_directories(folder / "Y.app/Contents");
  fs::create_symlink(folder / "elsewhere.plist", folder / "Y.app/Contents/Info.plist");
  EXPECT_EQ(identifier("Y.app"), "com.example.x");
}

TEST_F(NSBundleTest, ReadsItsIdentifierFromAnyFormOfPropertyList) {
  const Ref<NSData> binary = NSPropertyListSerialization::dataFromPropertyList(
      NSDictionary::dictionaryWithEntries({{"CFBundleIdentifier"_ns, "com.example.x"_ns}}),
      NSPropertyListBinaryFormat_v1_0);
  ASSERT_TRUE(binary);
  write("binary/Info.plist", binary->bytes());
  write("xml/Info.plist", kIdentified);
  write("text/Info.plist", "{ CFBundleIdentifier = \"com.example.x\"; }");
  for (const char* name : {"binary", "xml", "text"}) EXPECT_EQ(identifier(name), "com.example.x") << name;
}

TEST_F(NSBundleTest, IgnoresAnIdentifierThatIsNotText) {
  write("X/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><integer>1</integer></dict></plist>");
  EXPECT_EQ(identifier("X"), "(absent)");
  write("Y/Info.plist", "<plist><array><string>CFBundleIdentifier</string></array></plist>");
  EXPECT_EQ(identifier("Y"), "(absent)");
}

TEST_F(NSBundleTest, DoesNotWaitForAPipeInPlaceOfItsInfo) {
  fs::create_directories(folder / "X/Contents");
  ASSERT_EQ(::mkfifo((folder / "X/Contents/Info.plist").c_str(), 0666), 0);
  fs::create_directories(folder / "Y/Contents/Info.plist");
  fs::create_directories(folder / "Z/Contents");
  fs::create_symlink("/dev/zero", folder / "Z/Contents/Info.plist");
  for (const char* name : {"X", "Y", "Z"}) {
    EXPECT_EQ(identifier(name), "(absent)") << name;
    write(std::string(name) + "/Info.plist", kIdentified);
    EXPECT_EQ(identifier(name), "com.example.x") << name << ": anything but a file counts as missing";
  }
}

TEST_F(NSBundleTest, HasItsExecutableWhereItsLayoutPutsIt) {
  constexpr char kInfo[] = "<plist><dict><key>CFBundleExecutable</key><string>program</string></dict></plist>";
  write("A.app/Contents/Info.plist", kInfo);
  write("B.framework/Resources/Info.plist", kInfo);
  write("C.bundle/Info.plist", kInfo);
  EXPECT_EQ(executable("A.app"), "A.app/Contents/MacOS/program");
  EXPECT_EQ(executable("B.framework"), "B.framework/program");
  EXPECT_EQ(executable("C.bundle"), "C.bundle/program");
}

TEST_F(NSBundleTest, HasAnExecutableWithItsOwnNameIfTheInfoNamesNone) {
  write("A.app/Contents/Info.plist", kEmpty);
  write("B/Resources/Info.plist", "<plist><dict><key>CFBundleExecutable</key><string></string></dict></plist>");
  write("C.v2.app/Info.plist", "<plist><dict><key>CFBundleExecutable</key><integer>1</integer></dict></plist>");
  fs::create_directory(folder / "plain.d");
  fs::create_directory(folder / ".hidden");
  EXPECT_EQ(executable("A.app"), "A.app/Contents/MacOS/A");
  EXPECT_EQ(executable("B"), "B/B");
  EXPECT_EQ(executable("C.v2.app"), "C.v2.app/C.v2");
  EXPECT_EQ(executable("plain.d"), "plain.d/plain");
  EXPECT_EQ(executable(".hidden"), ".hidden/.hidden");
}

TEST_F(NSBundleTest, RefusesAnExecutableOutsideItself) {
  for (const char* name : {"/bin/sh", "..", "../x", "./../x", "a/../../x", "a/..", ".", "../../../bin/sh"}) {
    write("X.app/Contents/Info.plist",
          "<plist><dict><key>CFBundleExecutable</key><string>" + std::string(name) + "</string></dict></plist>");
    EXPECT_EQ(executable("X.app"), "(absent)") << name;
  }
  write("X.app/Contents/Info.plist", "{ CFBundleExecutable = \"program\\000/../../../sh\"; }");
  EXPECT_EQ(executable("X.app"), "(absent)");
  EXPECT_FALSE(NSBundle::bundleWithURL(std::make_shared<NSURL>("/"))->executablePath());
}

TEST_F(NSBundleTest, MayHaveItsExecutableInAnInnerFolder) {
  write("X.app/Contents/Info.plist",
        "<plist><dict><key>CFBundleExecutable</key><string>bin/..x/program</string></dict></plist>");
  EXPECT_EQ(executable("X.app"), "X.app/Contents/MacOS/bin/..x/program");
}

TEST_F(NSBundleTest, MayHaveAnExecutableWhoseNameGoesBackAndStaysInside) {
  // Only the name counts, not its folders: "sub" is a link that leads out of the bundle.
  fs::create_directories(folder / "X.app/Contents/MacOS");
  fs::create_directory_symlink("/", folder / "X.app/Contents/MacOS/sub");
  for (const char* name : {"sub/../program", "./program", "a/b/../../program", "sub//./../program"}) {
    write("X.app/Contents/Info.plist",
          "<plist><dict><key>CFBundleExecutable</key><string>" + std::string(name) + "</string></dict></plist>");
    EXPECT_EQ(fs::path(executable("X.app")).lexically_normal(), "X.app/Contents/MacOS/program") << name;
  }
}

TEST_F(NSBundleTest, IsFoundFromItsExecutableInAnyLayout) {
  write("A.app/Contents/Info.plist", kEmpty);
  write("B.framework/Resources/Info.plist", kEmpty);
  write("C.bundle/Info.plist", kEmpty);
  EXPECT_EQ(around("A.app/Contents/MacOS/A"), "A.app");
  EXPECT_EQ(around("B.framework/B"), "B.framework");
  EXPECT_EQ(around("B.framework/Resources/deep/down/x"), "B.framework");
  EXPECT_EQ(around("C.bundle/C"), "C.bundle");
  EXPECT_EQ(around("elsewhere/x"), "(none)");
  EXPECT_EQ(around("A.app"), "(none)");
  EXPECT_EQ(around("x"), "(none)");
}

TEST_F(NSBundleTest, TheNearestBundleAroundAnExecutableIsFound) {
  write("A.app/Contents/Info.plist", kEmpty);
  write("A.app/Contents/Library/B.app/Contents/Info.plist", kEmpty);
  EXPECT_EQ(around("A.app/Contents/Library/B.app/Contents/MacOS/B"), "A.app/Contents/Library/B.app");
  EXPECT_EQ(around("A.app/Contents/Library/x"), "A.app");
}

TEST_F(NSBundleTest, TheInsideOfABundleIsNotFoundFromAnExecutable) {
  write("A.app/Contents/Info.plist", kEmpty);
  write("A.app/Contents/Resources/Info.plist", kEmpty);
  EXPECT_EQ(around("A.app/Contents/Resources/x"), "A.app");
  EXPECT_EQ(around("A.app/Contents/x"), "A.app");
}

TEST_F(NSBundleTest, IsFoundFromAnExecutableThatIsGone) {
  write("A.app/Contents/Info.plist", kEmpty);
  EXPECT_EQ(around("A.app/Contents/missing/folders/x"), "A.app");
}

TEST(NSBundleAroundExecutable, TheSearchEndsAtTheRootFolder) {
  for (const char* path : {"", "/", "/x", "relative", "//x"}) {
    EXPECT_FALSE(NSBundle::bundleAroundExecutable(NSString::stringWithUTF8String(path))) << path;
  }
}

TEST_F(NSBundleTest, TheMainBundleIsTheOneAroundTheProgram) {
  write("X.app/Contents/Info.plist", kEmpty);
  EXPECT_EQ(mainBundleOf(folder / "X.app/Contents/MacOS/tool"), (folder / "X.app").string() + "\ngreeting\n");
}

TEST_F(NSBundleTest, TheMainBundleOfAProgramOutsideAnyBundleIsItsFolder) {
  EXPECT_EQ(mainBundleOf(folder / "empty/tool"), (folder / "empty").string() + "\ngreeting\n");
}

TEST(MainBundle, IsMadeOnce) { EXPECT_EQ(NSBundle::mainBundle(), NSBundle::mainBundle()); }

}  // namespace

}  // namespace zk::test
