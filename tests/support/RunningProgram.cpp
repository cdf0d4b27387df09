#include "support/RunningProgram.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "support/TemporaryFolder.h"

namespace zk::test {

namespace fs = std::filesystem;

// The parent goes on once the program has started: that closes the child's end of the pipe that it waits on.
RunningProgram::RunningProgram(const fs::path& path, const std::vector<std::string>& arguments, const fs::path& folder)
    : process_([&](const ChildProcess::TellReady&) {
        std::vector<char*> list{const_cast<char*>(path.c_str())};
        for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
        list.push_back(nullptr);
        ::dup2(input_.reading.get(), STDIN_FILENO);
        if (::chdir(folder.c_str()) == 0) ::execv(path.c_str(), list.data());
        ::_exit(127);
      }) {}

int RunningProgram::end() {
  input_.writing.reset();
  return process_.wait();
}

std::string outputOf(const std::string& command) {
  // NOLINTNEXTLINE(cert-env33-c): the command is a test's own.
  FILE* output = ::popen(command.c_str(), "r");
  if (output == nullptr) return "(not started)";
  std::string text;
  for (int character; (character = std::fgetc(output)) != EOF;) text += static_cast<char>(character);
  EXPECT_EQ(::pclose(output), 0) << command;
  return text;
}

void copyProgram(const fs::path& program, const fs::path& path) {
  fs::create_directories(path.parent_path());
  fs::copy_file(fs::canonical(program), path, fs::copy_options::overwrite_existing);
}

void writeScript(const fs::path& path, std::string_view content) {
  writeFile(path, content);
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add);
}

}  // namespace zk::test
