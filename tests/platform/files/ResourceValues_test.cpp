#include "files/ResourceValues.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace zk {
namespace {

namespace fs = std::filesystem;

TEST(ResourceValues, SaysWhetherAnItemIsAPackage) {
  const test::TemporaryFolder folder;
  fs::create_directory(folder / "bundle.app");
  fs::create_directory(folder / "folder");
  test::writeFile(folder / "file.app", "");
  fs::create_symlink("bundle.app", folder / "link.app");

  const auto isPackage = [&folder](std::string_view name) {
    Ref<NSNumber> value;
    EXPECT_TRUE(getResourceValue(folder.url(name), value, NSURLIsPackageKey)) << name;
    EXPECT_TRUE(value && value->isBoolean()) << name;
    return value && value->boolValue();
  };
  EXPECT_TRUE(isPackage("bundle.app"));
  EXPECT_FALSE(isPackage("folder"));
  EXPECT_FALSE(isPackage("file.app"));
  EXPECT_FALSE(isPackage("link.app")) << "a link is not followed";
}

TEST(ResourceValues, LeavesTheValueAloneIfItCannotBeRead) {
  const test::TemporaryFolder folder;
  const Ref<NSNumber> before = NSNumber::numberWithInt(7);
  Ref<NSNumber> value = before;
  EXPECT_FALSE(getResourceValue(folder.url("missing"), value, NSURLIsPackageKey));
  EXPECT_FALSE(getResourceValue(folder.url(), value, "NSURLAnotherKey"_ns));
  EXPECT_FALSE(getResourceValue(folder.url(), value, nullptr));
  EXPECT_FALSE(getResourceValue(nullptr, value, NSURLIsPackageKey));
  EXPECT_EQ(value, before);
}

}  // namespace
}  // namespace zk
