#include "objects/Path.h"

#include <gtest/gtest.h>

namespace zk {
namespace {

TEST(Path, LosesItsTrailingSlashes) {
  EXPECT_EQ(withoutTrailingSlashes("/a//"), "/a");
  EXPECT_EQ(withoutTrailingSlashes("///"), "/");
  EXPECT_EQ(withoutTrailingSlashes(""), "");
}

TEST(Path, JoinsWithOneSlash) {
  EXPECT_EQ(joinedPath("/a", "b"), "/a/b");
  EXPECT_EQ(joinedPath("/", "b"), "/b");
}

TEST(Path, EndsWithItsLastName) {
  EXPECT_EQ(lastName("/a/b"), "b");
  EXPECT_EQ(lastName("b"), "b");
  EXPECT_EQ(lastName("/"), "");
}

TEST(Path, AnExtensionFollowsTheLastDot) {
  EXPECT_EQ(pathExtension("a.b.app"), "app");
  EXPECT_EQ(pathExtension("a."), "");
  EXPECT_EQ(pathExtension("a"), "");
  EXPECT_EQ(pathExtension(".app"), "");
  EXPECT_EQ(pathExtension(""), "");

  EXPECT_EQ(nameWithoutExtension("a.b.app"), "a.b");
  EXPECT_EQ(nameWithoutExtension("a."), "a");
  EXPECT_EQ(nameWithoutExtension("a"), "a");
  EXPECT_EQ(nameWithoutExtension(".app"), ".app");
  EXPECT_EQ(nameWithoutExtension(""), "");
}

}  // namespace
}  // namespace zk
