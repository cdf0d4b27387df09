#include "linux/ProcessBundle.h"

#include <gtest/gtest.h>

#include "linux/ProcFile.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;

constexpr char kCat[] = "/bin/cat";
constexpr char kShell[] = "/bin/sh";

/// Waits for its input to end.
constexpr char kScript[] = "#!/bin/sh\nread line\n";
constexpr char kScriptWithOption[] = "#!/bin/sh -u\nread line\n";

void writeInfo(const fs::path& path, std::string_view keys = "") {
  writeFile(path, "<plist><dict>" + std::string(keys) + "</dict></plist>");
}

/// An application bundle called X.app whose own program is Contents/MacOS/X.
class ProcessBundleTest : public ::testing::Test {
 protected:
  ProcessBundleTest() { writeInfo(app / "Contents/Info.plist"); }

  static ProcessBundle bundleOf(const RunningProgram& process) {
    const std::optional<Executable> executable = executableOf(process.pid());
    EXPECT_TRUE(executable);
    return executable ? bundleOfProcess(process.pid(), *executable) : ProcessBundle{nullptr, false};
  }
  static void expectBundle(const RunningProgram& process, const fs::path& path, bool isFromArguments) {
    const ProcessBundle found = bundleOf(process);
    ASSERT_TRUE(found.bundle);
    EXPECT_EQ(found.bundle->bundleURL()->path()->bytes(), path);
    EXPECT_EQ(found.isFromArguments, isFromArguments);
  }
  static void expectNoBundle(const RunningProgram& process) {
    const ProcessBundle found = bundleOf(process);
    EXPECT_FALSE(found.bundle);
    EXPECT_FALSE(found.isFromArguments);
  }

  const TemporaryFolder folder;
  const fs::path app = folder / "X.app";
  const fs::path program = app / "Contents/MacOS/X";
};

TEST_F(ProcessBundleTest, IsTheOneAroundTheExecutable) {
  copyProgram(kCat, program);
  expectBundle(RunningProgram(program), app, false);
}

TEST_F(ProcessBundleTest, IsTheOneAroundAHelperProgram) {
  copyProgram(kCat, app / "Contents/Helpers/deep/helper");
  expectBundle(RunningProgram(app / "Contents/Helpers/deep/helper"), app, false);
}

TEST_F(ProcessBundleTest, IsTheNearestOne) {
  const fs::path inner = app / "Contents/Library/Inner.app";
  writeInfo(inner / "Contents/Info.plist");
  copyProgram(kCat, inner / "Contents/MacOS/Inner");
  expectBundle(RunningProgram(inner / "Contents/MacOS/Inner"), inner, false);
}

TEST_F(ProcessBundleTest, IsFoundThroughALink) {
  copyProgram(kCat, program);
  fs::create_symlink(program, folder / "link");
  expectBundle(RunningProgram(folder / "link"), app, false);
}

TEST_F(ProcessBundleTest, IsStillTheOneAroundADeletedExecutable) {
  copyProgram(kCat, program);
  const RunningProgram process(program);
  fs::remove(program);
  expectBundle(process, app, false);
}

TEST_F(ProcessBundleTest, IsAbsentForAnExecutableOutsideAnyBundle) {
  copyProgram(kCat, folder / "program");
  expectNoBundle(RunningProgram(folder / "program"));
}

TEST_F(ProcessBundleTest, IsTheOneWhoseMainExecutableAScriptIs) {
  writeScript(program, kScript);
  expectBundle(RunningProgram(program), app, true);
}

TEST_F(ProcessBundleTest, IsFoundForAScriptAfterTheInterpretersOption) {
  writeScript(program, kScriptWithOption);
  expectBundle(RunningProgram(program), app, true);
}

TEST_F(ProcessBundleTest, IsFoundForAScriptAfterOptionsWithValues) {
  writeScript(program, kScript);
  expectBundle(RunningProgram(kShell, {"-u", "-o", "noglob", program, "argument"}), app, true);
}

TEST_F(ProcessBundleTest, IsFoundForAScriptWithAPathRelativeToTheCurrentFolder) {
  writeScript(program, kScript);
  expectBundle(RunningProgram(kShell, {"MacOS/X"}, app / "Contents"), app, true);
}

TEST_F(ProcessBundleTest, IsFoundForAScriptThroughALink) {
  writeScript(program, kScript);
  fs::create_symlink(program, folder / "link");
  expectBundle(RunningProgram(folder / "link"), app, true);
}

TEST_F(ProcessBundleTest, IsFoundForAScriptThatTheInfoNames) {
  writeInfo(app / "Contents/Info.plist", "<key>CFBundleExecutable</key><string>other</string>");
  writeScript(app / "Contents/MacOS/other", kScript);
  expectBundle(RunningProgram(app / "Contents/MacOS/other"), app, true);
}

TEST_F(ProcessBundleTest, IsAbsentForAScriptThatIsNotAMainExecutable) {
  writeScript(program, kScript);
  writeScript(app / "Contents/MacOS/other", kScript);
  expectNoBundle(RunningProgram(app / "Contents/MacOS/other"));
  writeScript(app / "Contents/Resources/X", kScript);
  expectNoBundle(RunningProgram(app / "Contents/Resources/X"));
}

TEST_F(ProcessBundleTest, IsAbsentForAScriptThatOnlyWorksOnABundlesProgram) {
  copyProgram(kCat, program);
  writeScript(folder / "script", kScript);
  expectNoBundle(RunningProgram(folder / "script", {program}));
}

TEST_F(ProcessBundleTest, IsAbsentForAnInterpreterWithoutAScript) {
  copyProgram(kCat, program);
  expectNoBundle(RunningProgram(kShell, {"-s"}));
}

TEST_F(ProcessBundleTest, IsNotLookedForAmongCountlessArguments) {
  writeScript(program, kScript);
  std::vector<std::string> arguments(100, "-u");
  arguments.push_back(program);
  expectNoBundle(RunningProgram(kShell, arguments));
}

TEST_F(ProcessBundleTest, IsTheInterpretersOwnIfThatIsInsideABundle) {
  const fs::path runtime = folder / "Runtime.app";
  writeInfo(runtime / "Contents/Info.plist");
  copyProgram(kShell, runtime / "Contents/MacOS/sh");
  writeScript(program, "#!" + (runtime / "Contents/MacOS/sh").string() + "\nread line\n");
  expectBundle(RunningProgram(program), runtime, false);
}

TEST_F(ProcessBundleTest, IsTheOneOfTheProgramThatALoaderRuns) {
  constexpr char kLoader[] = "/lib64/ld-linux-x86-64.so.2";
  if (!fs::exists(kLoader)) GTEST_SKIP() << "There is no loader at this place.";
  copyProgram(kCat, program);
  expectBundle(RunningProgram(kLoader, {program}), app, true);
  expectBundle(RunningProgram(kLoader, {"--library-path", "/lib", program}), app, true);
}

}  // namespace

}  // namespace zk::test
