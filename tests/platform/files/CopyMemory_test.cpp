#include <gtest/gtest.h>

#include <filesystem>

#include "FileItems.h"
#include "support/Memory.h"
#include "support/System.h"
#include "support/TreeDescription.h"
#include "system/System.h"

namespace zk::test {
namespace {

namespace fs = std::filesystem;

class OutOfMemory : public ::testing::TestWithParam<FailingAllocation::How> {
 protected:
  /// Lets `operation` run out of memory at its first allocation, then at its second, and so on until it needs no more.
  template <class Operation>
  void atEveryAllocation(Operation operation) {
    const std::size_t descriptors = openDescriptors();
    for (std::size_t number = 0; !operation(number); ++number) {
      ASSERT_LT(number, 10000U);
      ASSERT_EQ(openDescriptors(), descriptors) << number;
    }
    EXPECT_EQ(openDescriptors(), descriptors);
  }

  /// If memory has run out for good, there is none for the error either.
  void expectOutOfMemory(bool failed, const Ref<NSError>& error) const {
    if (failed && !isForGood()) {
      ASSERT_NE(error, nullptr);
      EXPECT_EQ(error->code(), 12);
    }
  }

  bool isForGood() const { return GetParam() == FailingAllocation::How::fromThenOn; }

  TemporaryFolder folder;
  NSFileManager fileManager;
};

TEST_P(OutOfMemory, MakesAFileManagerAbsent) {
  System::current();  // is made at its first use
  const FailingAllocation failing(0, GetParam());
  EXPECT_EQ(System::current().makeFileManager(), nullptr);
}

TEST_P(OutOfMemory, MakesACopyFailAndNothingElse) {
  writeFile(folder / "from/a/b/c/d/e/f/file", "x");
  fs::create_hard_link(folder / "from/a/b/c/d/e/f/file", folder / "from/z");
  fs::create_symlink("nothing", folder / "from/link");
  setAttribute(folder / "from/z", "user.note", "v");
  const Ref<NSURL> from = folder.url("from");
  const Ref<NSURL> to = folder.url("to");
  atEveryAllocation([&](std::size_t number) {
    Ref<NSError> error;
    bool succeeded = false;
    bool failed = false;
    {
      const FailingAllocation allocation(number, GetParam());
      succeeded = fileManager.copyItemAtURL(from, to, &error);
      failed = allocation.hasFailed();
    }
    EXPECT_NE(succeeded, failed) << number;
    expectOutOfMemory(failed, error);
    if (succeeded) {
      EXPECT_EQ(describeTree(folder / "to"), describeTree(folder / "from"));
    }
    fs::remove_all(folder / "to");
    return !failed;
  });
}

TEST_P(OutOfMemory, MakesARemovalFailAndNothingElse) {
  const Ref<NSURL> tree = folder.url("tree");
  atEveryAllocation([&](std::size_t number) {
    writeFile(folder / "tree/a/b/c/d/e/f/file", "x");
    Ref<NSError> error;
    bool succeeded = false;
    bool failed = false;
    {
      const FailingAllocation allocation(number, GetParam());
      succeeded = fileManager.removeItemAtURL(tree, &error);
      failed = allocation.hasFailed();
    }
    EXPECT_NE(succeeded, failed) << number;
    expectOutOfMemory(failed, error);
    EXPECT_NE(succeeded, isThere(folder / "tree")) << number;
    return !failed;
  });
}

INSTANTIATE_TEST_SUITE_P(Memory, OutOfMemory,
                         ::testing::Values(FailingAllocation::How::once, FailingAllocation::How::fromThenOn),
                         [](const auto& parameter) {
                           return parameter.param == FailingAllocation::How::once ? "Once" : "FromThenOn";
                         });

}  // namespace
}  // namespace zk::test
