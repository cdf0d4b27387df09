#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "FileItems.h"
#include "support/TemporaryFolder.h"
#include "support/TreeDescription.h"

namespace zk::test {

inline constexpr uid_t kOther = 1234;  ///< a user and a group without privileges

/// What files are made with in the folders of a copy, where most of them have their owner, group and mode at once.
class CopyNewFiles : public ::testing::Test {
 protected:
  void TearDown() override { ::umask(mask); }

  /// Makes files of some modes in the folder `top`.
  void makeFiles(const std::filesystem::path& top) {
    for (const mode_t mode : Modes{0400, 0600, 0644, 0755, 0777, 02755, 04755}) {
      writeFile(top / std::to_string(mode), "x");
      setMode(top / std::to_string(mode), mode);
    }
  }

  /// Copies "from" to `to` under some masks, and compares.
  void expectSameCopies(const std::filesystem::path& to) {
    for (const mode_t newMask : Modes{0000, 0027, 0777}) {
      ::umask(newMask);
      const Outcome outcome = copyItem(folder / "from", to);
      EXPECT_TRUE(outcome.succeeded) << outcome.code() << " at " << outcome.path();
      EXPECT_EQ(describeTree(to), describeTree(folder / "from")) << std::oct << newMask;
      EXPECT_TRUE(removeItem(to).succeeded);
    }
    ::umask(mask);
  }

  TemporaryFolder folder;
  const mode_t mask = ::umask(0022);
};

}  // namespace zk::test
