#include "linux/Launch.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "process/POSIXSystem.h"
#include "system/FileDescriptor.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// The descriptor under which the new process tells how far it came: the first behind the standard ones, so that every
/// one above it can be closed.
constexpr int kReportDescriptor = STDERR_FILENO + 1;

/// Writes a word: one when nothing but the program is to come, another when that could not be executed. The program's
/// start closes the report, as any other end of this process does.
bool tell(int report) {
  const char word = 1;
  return ::write(report, &word, sizeof word) == sizeof word;
}

/// Leaves no way to what the standard streams were. They are closed first: opening takes the lowest free descriptor
/// then, and finds one even where the limit leaves no other.
bool openStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) ::close(stream);
  return ::open("/dev/null", O_RDWR) == STDIN_FILENO && ::dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO &&
         ::dup2(STDIN_FILENO, STDERR_FILENO) == STDERR_FILENO;
}

[[noreturn]] void becomeProgram(const std::string& executable, char* const* arguments, int report) {
  // A program that could not be told of would run all the same, and its starter would wait for its end.
  if (report != kReportDescriptor && ::dup2(report, kReportDescriptor) < 0) ::_exit(127);
  ::closefrom(kReportDescriptor + 1);
  ::fcntl(kReportDescriptor, F_SETFD, FD_CLOEXEC);

  ::setsid();
  if (openStandardStreams() && ::chdir("/") == 0) {
    resetSignals();
    if (tell(kReportDescriptor)) {
      ::execv(executable.c_str(), arguments);
      tell(kReportDescriptor);
    }
  }
  ::_exit(127);
}

/// Reads the report to its end: the program runs when the first word came and not the second.
bool isRunning(int report) {
  int words = 0;
  char word;
  while (true) {
    const ssize_t count = uninterrupted([&] { return ::read(report, &word, sizeof word); });
    if (count <= 0) return count == 0 && words == 1;
    ++words;
  }
}

}  // namespace

bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments) {
  std::vector<char*> argumentList{const_cast<char*>(executable.c_str())};
  for (const std::string& argument : arguments) argumentList.push_back(const_cast<char*>(argument.c_str()));
  argumentList.push_back(nullptr);

  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);

  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) becomeProgram(executable, argumentList.data(), writing.get());

  writing.reset();
  if (isRunning(reading.get())) return true;
  uninterrupted([child] { return ::waitpid(child, nullptr, 0); });
  return false;
}

}  // namespace zk
