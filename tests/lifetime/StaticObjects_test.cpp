#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace zk {
namespace {

TEST(StaticObjects, MayUseTheLibrariesBeforeMainAndAfterIt) {
  FILE* output = ::popen(ZK_STATIC_OBJECTS_PROGRAM, "r");
  ASSERT_NE(output, nullptr);
  std::string text;
  for (int character; (character = std::fgetc(output)) != EOF;) text += static_cast<char>(character);
  EXPECT_EQ(::pclose(output), 0);
  EXPECT_EQ(text, "first made\nlast made\nmain\nlast destroyed\nfirst destroyed\n");
}

}  // namespace
}  // namespace zk
