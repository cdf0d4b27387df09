#pragma once

#include <filesystem>
#include <string>

#include "support/RunningProgram.h"

namespace zk::test {

/// Copies the program for this purpose to `path`, and returns what it prints about its main bundle: the bundle's path
/// and the translation of "greeting", each on a line.
inline std::string mainBundleOf(const std::filesystem::path& path) {
  copyProgram(ZK_MAIN_BUNDLE_PROGRAM, path);
  return outputOf("'" + path.string() + "' greeting");
}

}  // namespace zk::test
