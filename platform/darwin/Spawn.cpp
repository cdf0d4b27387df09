#include "darwin/Spawn.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "process/SignalSet.h"
#include "system/FileDescriptor.h"
#include "system/Uninterrupted.h"

namespace zk::darwin {

namespace {

/// What a program is to be started with. Each of these calls returns 0, or an error number.
class Settings {
 public:
  Settings() : hasActions_(::posix_spawn_file_actions_init(&actions_) == 0), hasAttributes_(::posix_spawnattr_init(&attributes_) == 0) {}
  ~Settings() {
    if (hasActions_) ::posix_spawn_file_actions_destroy(&actions_);
    if (hasAttributes_) ::posix_spawnattr_destroy(&attributes_);
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  /// @param standardError a descriptor for the program's standard error; -1 for /dev/null
  bool fill(int standardError) {
    // The two cannot be changed.
    sigset_t changeable = allSignals();
    sigdelset(&changeable, SIGKILL);
    sigdelset(&changeable, SIGSTOP);
    const sigset_t none = signalSet({});
    constexpr short kFlags =
        POSIX_SPAWN_SETSID | POSIX_SPAWN_CLOEXEC_DEFAULT | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    return hasActions_ && hasAttributes_ && ::posix_spawnattr_setflags(&attributes_, kFlags) == 0 &&
           ::posix_spawnattr_setsigdefault(&attributes_, &changeable) == 0 &&
           ::posix_spawnattr_setsigmask(&attributes_, &none) == 0 && redirect(standardError) &&
           ::posix_spawn_file_actions_addchdir_np(&actions_, "/") == 0;
  }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  bool openNull(int stream) {
    return ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0) == 0;
  }

  /// Standard error comes first: its descriptor may be one of those that are replaced after it.
  bool redirect(int standardError) {
    const bool hasError = standardError >= 0
                              ? ::posix_spawn_file_actions_adddup2(&actions_, standardError, STDERR_FILENO) == 0
                              : openNull(STDERR_FILENO);
    return hasError && openNull(STDIN_FILENO) && openNull(STDOUT_FILENO);
  }

  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  bool hasActions_;
  bool hasAttributes_;
};

/// @return the program's process id; -1 if it cannot be executed
pid_t spawn(const std::string& executable, const std::vector<std::string>& arguments, char* const* environment,
            int standardError) {
  Settings settings;
  if (!settings.fill(standardError)) return -1;
  std::vector<char*> list{const_cast<char*>(executable.c_str())};
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  pid_t child = -1;
  const int error = ::posix_spawn(&child, executable.c_str(), settings.actions(), settings.attributes(), list.data(),
                                  environment);
  return error == 0 ? child : -1;
}

}  // namespace

Ref<NSTask> spawnTask(const std::string& executable, const std::vector<std::string>& arguments,
                      char* const* environment) {
  int ends[2];
  if (::pipe(ends) != 0) return nullptr;
  FileDescriptor reading(ends[0]);
  const FileDescriptor writing(ends[1]);
  for (const int end : ends) {
    if (::fcntl(end, F_SETFD, FD_CLOEXEC) != 0) return nullptr;
  }
  if (::fcntl(reading.get(), F_SETFL, O_NONBLOCK) != 0) return nullptr;
  const pid_t child = spawn(executable, arguments, environment, writing.get());
  return child > 0 ? std::make_shared<NSTask>(child, std::move(reading)) : nullptr;
}

bool runToSuccess(const std::string& executable, const std::vector<std::string>& arguments, char* const* environment) {
  const pid_t child = spawn(executable, arguments, environment, -1);
  if (child < 0) return false;
  int status = 0;
  const pid_t ended = uninterrupted([&] { return ::waitpid(child, &status, 0); });
  return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace zk::darwin
