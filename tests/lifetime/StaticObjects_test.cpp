#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "host/ScriptedHost.h"

namespace zk::test {
namespace {

TEST(StaticObjects, MayUseTheLibrariesBeforeMainAndAfterIt) {
  // It runs from a bundle, and so can start updates.
  const TemporaryFolder folder;
  const std::filesystem::path program = folder / "X.app/Contents/MacOS/X";
  writeBundle(folder / "X.app");
  std::filesystem::copy_file(ZK_STATIC_OBJECTS_PROGRAM, program, std::filesystem::copy_options::overwrite_existing);
  writeBundle(folder / "Updates/X.app");

  FILE* output = ::popen(("ZK_UPDATES=" + (folder / "Updates").string() + " " + program.string()).c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string text;
  for (int character; (character = std::fgetc(output)) != EOF;) text += static_cast<char>(character);
  EXPECT_EQ(::pclose(output), 0);
  EXPECT_EQ(text, "first made\nlast made\nmain\nlast destroyed\nfirst destroyed\n");
}

}  // namespace
}  // namespace zk::test
