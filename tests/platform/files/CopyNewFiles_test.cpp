#include "CopyNewFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "support/System.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

TEST_F(CopyNewFiles, BelongToTheOwnersOfTheOriginalsInAnyOrder) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const std::pair<uid_t, gid_t> owners[] = {{0, 0}, {kOther, 0}, {0, kOther}, {kOther, kOther}};
  for (const auto& [firstOwner, firstGroup] : owners) {
    for (const auto& [owner, group] : owners) {
      const fs::path inner = folder / "from" / (std::to_string(owner) + "-" + std::to_string(group));
      makeFiles(inner);
      for (const fs::directory_entry& file : fs::directory_iterator(inner)) {
        const mode_t mode = modeOf(file.path());
        ASSERT_EQ(::chown(file.path().c_str(), owner, group), 0);
        setMode(file.path(), mode);
      }
    }
    writeFile(folder / "from/ first", "x");
    ASSERT_EQ(::chown((folder / "from/ first").c_str(), firstOwner, firstGroup), 0);
    expectSameCopies(folder / "to");
    fs::remove_all(folder / "from");
  }
}

TEST_F(CopyNewFiles, HaveTheirAttributesAnywhereInTheTree) {
  for (const bool isFirst : {true, false}) {
    makeFiles(folder / "from/a");
    makeFiles(folder / "from/b");
    // The names are the modes in decimal digits; 1517 comes first.
    const fs::path note = folder / (isFirst ? "from/a/1517" : "from/b/493");
    if (!setAttribute(note, "user.note", "kept")) GTEST_SKIP() << "no extended attributes here";
    expectSameCopies(folder / "to");
    fs::remove_all(folder / "from");
  }
}

}  // namespace
}  // namespace zk::test
