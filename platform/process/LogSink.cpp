#include "process/LogSink.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <new>
#include <optional>

#include "objects/Escaping.h"
#include "objects/Path.h"
#include "process/SignalSet.h"
#include "system/ErrorNumbers.h"
#include "system/FileDescriptor.h"
#include "system/Port.h"
#include "text/UTF8.h"

namespace zk {

namespace {

bool isControl(char32_t character) { return character < 0x20 || (character >= 0x7F && character <= 0x9F); }

std::string timeStamp() {
  timeval now;
  tm parts;
  char seconds[32];
  char stamp[40];
  ::gettimeofday(&now, nullptr);
  ::localtime_r(&now.tv_sec, &parts);
  static_cast<void>(::strftime(seconds, sizeof seconds, "%Y-%m-%d %H:%M:%S", &parts));
  static_cast<void>(
      std::snprintf(stamp, sizeof stamp, "%s.%03d", seconds, static_cast<int>(now.tv_usec / 1000 % 1000)));
  return stamp;
}

/// Writes once; a failure is ignored.
void writeOnce(int descriptor, std::string_view line) {
  [[maybe_unused]] const ssize_t count = ::write(descriptor, line.data(), line.size());
}

/// A scope in which no signal raised by a write ends or stops this process: not for a pipe without a reader, a file at
/// its size limit, or a terminal that stops background processes.
class QuietWriting {
 public:
  QuietWriting() : raised_(signalSet({SIGPIPE, SIGXFSZ, SIGTTOU})) {
    ::pthread_sigmask(SIG_BLOCK, &raised_, &maskBefore_);
    // Signals already pending were not raised by this write.
    sigset_t pending;
    sigpending(&pending);
    for (const int number : {SIGPIPE, SIGXFSZ, SIGTTOU}) {
      if (sigismember(&pending, number) == 1) sigdelset(&raised_, number);
    }
  }
  ~QuietWriting() {
    port::takeBackPending(raised_);
    ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
  }
  QuietWriting(const QuietWriting&) = delete;
  QuietWriting& operator=(const QuietWriting&) = delete;

 private:
  sigset_t raised_;
  sigset_t maskBefore_;
};

/// Writes a line to a pipe or a terminal without waiting for its reader. The descriptor is shared with whoever started
/// this process, so its flags must not change: we open the same pipe or terminal once more. If that is refused, as for
/// another user's, we write no more than fits into any pipe that reports room.
void writeWithoutWaiting(std::string_view line) {
  const FileDescriptor own = port::openStandardErrorAnew();
  if (own.isOpen()) {
    writeOnce(own.get(), line);
    return;
  }
  pollfd room{STDERR_FILENO, POLLOUT, 0};
  // On some systems, any thread of the process may get the signal for a pipe without a reader. So none is raised.
  if (::poll(&room, 1, 0) != 1 || room.revents != POLLOUT) return;
  std::string beginning(line.substr(0, PIPE_BUF));
  beginning.back() = '\n';
  writeOnce(STDERR_FILENO, beginning);
}

void writeToStandardError(std::string_view line) {
  const QuietWriting scope;
  struct stat target;
  if (::fstat(STDERR_FILENO, &target) != 0) return;
  if (S_ISREG(target.st_mode) || S_ISBLK(target.st_mode)) {
    writeOnce(STDERR_FILENO, line);
  } else if (S_ISSOCK(target.st_mode)) {
    ::send(STDERR_FILENO, line.data(), line.size(), MSG_DONTWAIT);
  } else {
    writeWithoutWaiting(line);
  }
}

}  // namespace

std::string printable(std::string_view message) {
  std::string result;
  for (std::size_t index = 0; index < message.size();) {
    const std::optional<CodePoint> character = codePointAt(message, index);
    const std::size_t size = character ? character->length : 1;
    const std::string_view bytes = message.substr(index, size);
    if (character && !isControl(character->value)) {
      result += bytes;
    } else {
      for (const char byte : bytes) appendEscaped(result, static_cast<unsigned char>(byte));
    }
    index += size;
  }
  return result;
}

void writeLogLine(const std::string& message) noexcept {
  const ErrorNumberKeeper keeper;
  try {
    const std::string text = printable(message);
    const std::string name = printable(lastName(port::programPath()));
    const std::string process = std::to_string(::getpid()) + ":" + std::to_string(port::currentThreadId());
    writeToStandardError(timeStamp() + " " + name + "[" + process + "] " + text + "\n");
    port::writeToSystemLog(name, text);
  } catch (const std::bad_alloc&) {
    // Without memory the line is lost.
  }
}

}  // namespace zk
