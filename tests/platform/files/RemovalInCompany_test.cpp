#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "FileItems.h"
#include "support/linux/SystemCallPauses.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

/// A removal while somebody else is at work in the tree.
class RemovalInCompany : public ::testing::Test {
 protected:
  void SetUp() override {
    const bool isPermitted = runWithPauses(
        SYS_unlinkat, [](const std::string& /*name*/) {}, [] {});
    if (!isPermitted) GTEST_SKIP() << "no call may be made to pause here";
  }

  /// Removes "tree", and calls `interfere` each time that it is about to remove an item, with the item's name and how
  /// often that was to be removed before.
  void removeWhile(const std::function<void(const std::string& name, int before)>& interfere) {
    const bool isPermitted = runWithPauses(
        SYS_unlinkat, [&](const std::string& name) { interfere(name, tries[name]++); },
        [this] { outcome = removeItem(folder / "tree"); });
    ASSERT_TRUE(isPermitted);
  }

  /// The same, but interferes once, when `name` is about to be removed for the first time.
  void removeWhileOnce(const std::string& name, const std::function<void()>& interfere) {
    removeWhile([&](const std::string& item, int before) {
      if (item == name && before == 0) interfere();
    });
  }

  void expectRemoved() {
    EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
    EXPECT_FALSE(isThere(folder / "tree"));
  }

  TemporaryFolder folder;
  Outcome outcome;
  std::map<std::string, int> tries;
};

TEST_F(RemovalInCompany, CountsAnItemThatSomebodyElseHasRemovedAsRemoved) {
  for (const char* name : {"file", "folder"}) {
    writeFile(folder / "tree/file", "x");
    writeFile(folder / "tree/folder/inside", "x");
    writeFile(folder / "tree/last", "x");
    removeWhileOnce(name, [&] { fs::remove_all(folder / "tree" / name); });
    expectRemoved();
  }
}

TEST_F(RemovalInCompany, CountsAnOpenFolderThatSomebodyElseRemovesAsRemoved) {
  writeFile(folder / "tree/a/b/c/d/e/f/g/h/file", "x");
  writeFile(folder / "tree/z", "x");
  removeWhileOnce("file", [&] { fs::remove_all(folder / "tree/a"); });
  expectRemoved();
}

TEST_F(RemovalInCompany, FailsIfTheItemItselfIsGone) {
  writeFile(folder / "tree", "x");
  removeWhileOnce("tree", [&] { fs::remove(folder / "tree"); });
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 2);
}

TEST_F(RemovalInCompany, RemovesItemsThatSomebodyElseAddsMeanwhile) {
  writeFile(folder / "tree/folder/inside", "x");
  writeFile(folder / "tree/last", "x");
  removeWhile([&](const std::string& name, int before) {
    if (name == "inside") writeFile(folder / "tree/folder/new/file", "x");
    if (name == "tree" && before > 0 && before < 5) writeFile(folder / "tree" / std::to_string(before), "x");
  });
  expectRemoved();
  EXPECT_EQ(tries["tree"], 6);
}

TEST_F(RemovalInCompany, FailsInTheEndIfSomebodyElseNeverStopsAdding) {
  writeFile(folder / "tree/folder/inside", "x");
  removeWhile([&](const std::string& name, int before) {
    if (name == "folder") writeFile(folder / "tree/folder" / std::to_string(before), "x");
  });
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.code(), 66);
  EXPECT_EQ(outcome.path(), (folder / "tree/folder").string());
  EXPECT_EQ(tries["folder"], 101);
}

TEST_F(RemovalInCompany, RemovesAnItemThatIsNoLongerAFolder) {
  writeFile(folder / "outside/file", "x");
  const std::function<void()> changes[] = {
      [this] { writeFile(folder / "tree/changing", "x"); },
      [this] { fs::create_directory_symlink(folder / "outside", folder / "tree/changing"); },
  };
  for (const auto& change : changes) {
    for (const int moment : {0, 1}) {
      writeFile(folder / "tree/changing/inside", "x");
      tries.clear();
      removeWhile([&](const std::string& name, int before) {
        if (name != "changing" || before != moment) return;
        fs::remove_all(folder / "tree/changing");
        change();
      });
      expectRemoved();
    }
  }
  EXPECT_TRUE(isThere(folder / "outside/file"));
}

TEST_F(RemovalInCompany, RemovesAnItemThatHasBecomeAFolder) {
  const std::function<void()> changes[] = {
      [this] { fs::create_directory(folder / "tree/changing"); },
      [this] { writeFile(folder / "tree/changing/inside/file", "x"); },
  };
  for (const auto& change : changes) {
    writeFile(folder / "tree/changing", "x");
    tries.clear();
    removeWhileOnce("changing", [&] {
      fs::remove(folder / "tree/changing");
      change();
    });
    expectRemoved();
  }
}

TEST_F(RemovalInCompany, RemovesAnotherFolderThatHasTakenTheFoldersPlace) {
  writeFile(folder / "tree/folder/inside", "x");
  removeWhileOnce("inside", [&] {
    fs::rename(folder / "tree/folder", folder / "aside");
    writeFile(folder / "tree/folder/other", "x");
  });
  expectRemoved();
  EXPECT_TRUE(fs::is_empty(folder / "aside"));
}

}  // namespace
}  // namespace zk::test
