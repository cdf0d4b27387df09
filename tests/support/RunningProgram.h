#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Pipe.h"

namespace zk::test {

/// A program that runs as a child process. Its standard input is a pipe that stays open and empty as long as the object
/// lives: `cat`, or a script that reads a line, just waits.
class RunningProgram {
 public:
  /// Starts the program `path` in `folder` with `arguments` after its own path, and waits until it runs.
  explicit RunningProgram(const std::filesystem::path& path, const std::vector<std::string>& arguments = {},
                          const std::filesystem::path& folder = "/");

  pid_t pid() const { return process_.pid(); }
  /// Closes its standard input and waits for its end. @return its exit status, as ChildProcess::wait gives it
  int end();

 private:
  Pipe input_;
  ChildProcess process_;
};

/// What a shell command prints on its standard output. The command has to succeed.
std::string outputOf(const std::string& command);

/// Copies an executable of the system to `path`, making the folders above it.
void copyProgram(const std::filesystem::path& program, const std::filesystem::path& path);

/// Writes an executable script, making the folders above it.
void writeScript(const std::filesystem::path& path, std::string_view content);

}  // namespace zk::test
