#include <gtest/gtest.h>

#include <filesystem>

#include "host/ScriptedHost.h"
#include "support/RunningProgram.h"

namespace zk::test {
namespace {

TEST(StaticObjects, MayUseTheLibrariesBeforeMainAndAfterIt) {
  // It runs from a bundle, and so can start updates.
  const TemporaryFolder folder;
  const std::filesystem::path program = folder / "X.app/Contents/MacOS/X";
  writeBundle(folder / "X.app");
  std::filesystem::copy_file(ZK_STATIC_OBJECTS_PROGRAM, program, std::filesystem::copy_options::overwrite_existing);
  writeBundle(folder / "Updates/X.app");

  EXPECT_EQ(outputOf("ZK_UPDATES='" + (folder / "Updates").string() + "' '" + program.string() + "'"),
            "first made\nlast made\nmain\nlast destroyed\nfirst destroyed\n");
}

}  // namespace
}  // namespace zk::test
