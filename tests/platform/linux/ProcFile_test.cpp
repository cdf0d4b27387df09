#include "linux/ProcFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "support/TemporaryFolder.h"

namespace zk::test {

namespace {

/// A stat line with `name` as the program's name. Every other field except the state holds its own number.
std::string statLine(const std::string& name) {
  std::string line = "1 (" + name + ") R";
  for (int number = 4; number <= 52; ++number) line += " " + std::to_string(number);
  return line + "\n";
}

TEST(ProcFile, FindsTheFieldsOfAStatLine) {
  const std::string line = statLine("sh");
  EXPECT_EQ(statField(line, kStatState), "R");
  EXPECT_EQ(statField(line, kStatThreadCount), "20");
  EXPECT_EQ(statField(line, kStatStartTime), "22");
  EXPECT_EQ(statField(line, 52), "52");
}

TEST(ProcFile, IsNotMisledByAProgramsName) {
  for (const char* name : {"a b", ") Z 1 2", "((", "))", ") ) S", "", "a\nb"}) {
    const std::string line = statLine(name);
    EXPECT_EQ(statField(line, kStatState), "R") << name;
    EXPECT_EQ(statField(line, kStatStartTime), "22") << name;
  }
}

TEST(ProcFile, IsNotReadBeyondItsBound) {
  const std::optional<std::string> status = readProcFile("/proc/self/stat");
  ASSERT_TRUE(status);
  EXPECT_TRUE(readProcFile("/proc/self/stat", 2 * status->size()));
  EXPECT_EQ(readProcFile("/proc/self/stat", 10), std::nullopt);
}

TEST(ProcFile, FindsNothingInAMalformedLine) {
  for (const char* line : {"", "1", "1 (sh", "1 sh R 4 5", "1 (sh)", "1 (sh) R 4 5", "\n"}) {
    EXPECT_EQ(statField(line, kStatStartTime), std::nullopt) << line;
  }
}

TEST(ProcFile, ReadsAFileLargerThanOneRead) {
  const TemporaryFolder folder;
  const std::string content(100'000, 'x');
  writeFile(folder / "large", content);
  EXPECT_EQ(readProcFile(folder / "large"), content);
}

TEST(ProcFile, ReadsAFileWhoseSizeIsNotKnown) {
  const std::optional<std::string> status = readProcFile("/proc/self/status");
  ASSERT_TRUE(status);
  EXPECT_NE(status->find("\nPid:\t" + std::to_string(::getpid()) + "\n"), std::string::npos);
}

TEST(ProcFile, ReportsWhyAFileCannotBeRead) {
  errno = 0;
  EXPECT_EQ(readProcFile("/proc/self/no such file"), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(readProcFile("/proc/self"), std::nullopt);
  EXPECT_EQ(errno, EISDIR);
}

TEST(ProcFile, ReadsTheTargetOfALink) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("no such target", folder / "link");
  EXPECT_EQ(readProcLink(folder / "link"), "no such target");
  errno = 0;
  EXPECT_EQ(readProcLink(folder / "no such link"), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
}

TEST(ProcFile, ReadsTheLongestLink) {
  const TemporaryFolder folder;
  const std::string target(4095, 'x');
  std::filesystem::create_symlink(target, folder / "link");
  EXPECT_EQ(readProcLink(folder / "link"), target);
}

}  // namespace

}  // namespace zk::test
