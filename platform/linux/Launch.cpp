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
void tell(int report) {
  const char word = 1;
  [[maybe_unused]] const ssize_t count = ::write(report, &word, sizeof word);
}

/// Leaves no way to what the standard streams were. They are closed first: opening takes the lowest free descriptor
/// then, and finds one even where the limit leaves no other.
/// @param isErrorOpen whether standard error is what it is to be already
bool openStandardStreams(bool isErrorOpen) {
  for (int stream = STDIN_FILENO; stream <= STDOUT_FILENO; ++stream) ::close(stream);
  if (!isErrorOpen) ::close(STDERR_FILENO);
  return ::open("/dev/null", O_RDWR) == STDIN_FILENO && ::dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO &&
         (isErrorOpen || ::dup2(STDIN_FILENO, STDERR_FILENO) == STDERR_FILENO);
}

/// @param standardError what becomes the program's standard error, a descriptor above the report's; -1 for none
[[noreturn]] void becomeProgram(const std::string& executable, char* const* arguments, int report, int standardError) {
  if (report != kReportDescriptor) ::dup2(report, kReportDescriptor);
  if (standardError >= 0) ::dup2(standardError, STDERR_FILENO);
  ::closefrom(kReportDescriptor + 1);
  ::fcntl(kReportDescriptor, F_SETFD, FD_CLOEXEC);

  ::setsid();
  if (openStandardStreams(standardError >= 0) && ::chdir("/") == 0) {
    resetSignals();
    tell(kReportDescriptor);
    ::execv(executable.c_str(), arguments);
    tell(kReportDescriptor);
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

/// Starts the program. @return its id; -1 when it cannot be executed, and no process is left behind
pid_t startDetached(const std::string& executable, const std::vector<std::string>& arguments, int standardError) {
  std::vector<char*> argumentList{const_cast<char*>(executable.c_str())};
  for (const std::string& argument : arguments) argumentList.push_back(const_cast<char*>(argument.c_str()));
  argumentList.push_back(nullptr);

  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return -1;
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);

  const pid_t child = ::fork();
  if (child < 0) return -1;
  if (child == 0) becomeProgram(executable, argumentList.data(), writing.get(), standardError);

  writing.reset();
  if (isRunning(reading.get())) return child;
  uninterrupted([child] { return ::waitpid(child, nullptr, 0); });
  return -1;
}

}  // namespace

bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments) {
  return startDetached(executable, arguments, -1) > 0;
}

Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  FileDescriptor reading(ends[0]);
  const FileDescriptor pipeEnd(ends[1]);
  // Out of the way of the report, which takes its place first.
  const FileDescriptor standardError(::fcntl(pipeEnd.get(), F_DUPFD_CLOEXEC, kReportDescriptor + 1));
  if (!standardError.isOpen() || ::fcntl(reading.get(), F_SETFL, O_NONBLOCK) != 0) return nullptr;

  const pid_t child = startDetached(executable, arguments, standardError.get());
  return child > 0 ? std::make_shared<NSTask>(child, std::move(reading)) : nullptr;
}

}  // namespace zk
