#include "linux/Launch.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/keyctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "process/ProcessStart.h"
#include "system/FileDescriptor.h"
#include "system/Uninterrupted.h"

namespace zk {

namespace {

/// The descriptor on which the new process reports how far it got. It is the first after the standard ones, so that all
/// above it can be closed.
constexpr int kReportDescriptor = STDERR_FILENO + 1;

/// Writes one word of the report: the first right before the program is executed, a second if that failed. The report
/// is closed when the program starts or this process ends.
bool tell(int report) {
  const char word = 1;
  return ::write(report, &word, sizeof word) == sizeof word;
}

/// Replaces the standard streams with /dev/null. They are closed first: open() then takes the lowest free descriptor,
/// and finds one even if the limit leaves no other.
/// @param keepsError whether standard error already is what it should be
bool openStandardStreams(bool keepsError) {
  for (int stream = STDIN_FILENO; stream <= STDOUT_FILENO; ++stream) ::close(stream);
  if (!keepsError) ::close(STDERR_FILENO);
  return ::open("/dev/null", O_RDWR) == STDIN_FILENO && ::dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO &&
         (keepsError || ::dup2(STDIN_FILENO, STDERR_FILENO) == STDERR_FILENO);
}

/// Leaves this process's session keyring. If the kernel or a filter does not support keys, there is none.
bool joinNewKeyring() {
  return ::syscall(SYS_keyctl, KEYCTL_JOIN_SESSION_KEYRING, nullptr) >= 0 || errno == ENOSYS || errno == EPERM;
}

/// Becomes the user for good: an attempt to become root again must fail.
bool becomeUser(const ProcessOwner& owner) {
  return ::setgroups(owner.groups.size(), owner.groups.data()) == 0 &&
         ::setresgid(owner.group, owner.group, owner.group) == 0 &&
         ::setresuid(owner.user, owner.user, owner.user) == 0 && ::setuid(0) != 0 && joinNewKeyring();
}

/// What the new process should become.
struct Program {
  const char* path;
  char* const* arguments;
  char* const* environment;
  const ProcessOwner* owner;  ///< null for the user of this process
  int standardError = -1;     ///< a descriptor above the report's; -1 for /dev/null
};

[[noreturn]] void becomeProgram(const Program& program, int report) {
  // A program whose start could not be reported would run all the same, and its starter would wait for its end.
  if (report != kReportDescriptor && ::dup2(report, kReportDescriptor) < 0) ::_exit(127);
  if (program.standardError >= 0 && ::dup2(program.standardError, STDERR_FILENO) < 0) ::_exit(127);
  ::fcntl(kReportDescriptor, F_SETFD, FD_CLOEXEC);

  ::setsid();
  if (openStandardStreams(program.standardError >= 0) && ::chdir("/") == 0) {
    // If neither the kernel nor /proc helps here, the C library ends this process with a message on standard error,
    // which must not be the installer's log any more.
    ::closefrom(kReportDescriptor + 1);
    resetSignals();
    if ((program.owner == nullptr || becomeUser(*program.owner)) && tell(kReportDescriptor)) {
      ::execve(program.path, program.arguments, program.environment);
      tell(kReportDescriptor);
    }
  }
  ::_exit(127);
}

/// Reads the report to its end. The program is running if exactly one word came.
bool isRunning(int report) {
  int words = 0;
  char word;
  while (true) {
    const ssize_t count = uninterrupted([&] { return ::read(report, &word, sizeof word); });
    if (count <= 0) return count == 0 && words == 1;
    ++words;
  }
}

/// Appends the pointers that exec needs for a list of texts, which must outlive them.
void appendPointers(std::vector<char*>& list, const std::vector<std::string>& texts) {
  for (const std::string& text : texts) list.push_back(const_cast<char*>(text.c_str()));
  list.push_back(nullptr);
}

/// Starts the program and returns its id. If it cannot be executed, returns -1 and leaves no process behind.
pid_t launch(const Program& program) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return -1;
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);

  const pid_t child = ::fork();
  if (child < 0) return -1;
  if (child == 0) becomeProgram(program, writing.get());

  writing.reset();
  if (isRunning(reading.get())) return child;
  uninterrupted([child] { return ::waitpid(child, nullptr, 0); });
  return -1;
}

}  // namespace

bool launchDetached(const std::string& executable, const std::vector<std::string>& arguments) {
  std::vector<char*> argumentList{const_cast<char*>(executable.c_str())};
  appendPointers(argumentList, arguments);
  return launch({executable.c_str(), argumentList.data(), environ, nullptr}) > 0;
}

bool launchDetachedAs(const LaunchUser& user, const std::string& executable,
                      const std::vector<std::string>& arguments) {
  std::vector<char*> argumentList{const_cast<char*>(executable.c_str())};
  appendPointers(argumentList, arguments);
  std::vector<char*> environment;
  appendPointers(environment, user.environment);
  return launch({executable.c_str(), argumentList.data(), environment.data(), &user.owner}) > 0;
}

Ref<NSTask> launchTask(const std::string& executable, const std::vector<std::string>& arguments) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  FileDescriptor reading(ends[0]);
  const FileDescriptor pipeEnd(ends[1]);
  // A descriptor that the report does not take when it moves to its place.
  const FileDescriptor standardError(::fcntl(pipeEnd.get(), F_DUPFD_CLOEXEC, kReportDescriptor + 1));
  if (!standardError.isOpen() || ::fcntl(reading.get(), F_SETFL, O_NONBLOCK) != 0) return nullptr;

  std::vector<char*> argumentList{const_cast<char*>(executable.c_str())};
  appendPointers(argumentList, arguments);
  const pid_t child = launch({executable.c_str(), argumentList.data(), environ, nullptr, standardError.get()});
  return child > 0 ? std::make_shared<NSTask>(child, std::move(reading)) : nullptr;
}

}  // namespace zk
