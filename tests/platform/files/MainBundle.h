#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "support/RunningProgram.h"

namespace zk::test {

/// Copies the program for this purpose to `path`, and returns what it prints about its main bundle: the bundle's path
/// and the translation of "greeting", each on a line.
inline std::string mainBundleOf(const std::filesystem::path& path) {
  copyProgram(ZK_MAIN_BUNDLE_PROGRAM, path);
  FILE* output = ::popen(("'" + path.string() + "' greeting").c_str(), "r");
  std::string text;
  for (int character; (character = std::fgetc(output)) != EOF;) text += static_cast<char>(character);
  EXPECT_EQ(::pclose(output), 0);
  return text;
}

}  // namespace zk::test
