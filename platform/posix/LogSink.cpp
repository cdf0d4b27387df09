#include "posix/LogSink.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <optional>

#include "posix/FileDescriptor.h"
#include "process/ErrorNumbers.h"
#include "process/ProgramPath.h"
#include "process/ThreadId.h"
#include "text/UTF8.h"

namespace zk {

namespace {

constexpr char kSystemLogSocket[] = "/dev/log";
/// Facility "user", severity "notice", as the system log's protocol writes them.
constexpr int kPriority = 1 * 8 + 5;

bool isControl(char32_t character) { return character < 0x20 || (character >= 0x7F && character <= 0x9F); }

void appendEscaped(std::string& text, unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

std::string programName() {
  const std::string path = programPath();
  return path.substr(path.rfind('/') + 1);
}

std::string localTime(const char* format, const timeval& now) {
  tm parts;
  char text[64];
  ::localtime_r(&now.tv_sec, &parts);
  return std::string(text, ::strftime(text, sizeof text, format, &parts));
}

/// One write, whatever becomes of it.
void writeOnce(int descriptor, std::string_view line) {
  [[maybe_unused]] const ssize_t count = ::write(descriptor, line.data(), line.size());
}

/// While it is open, no signal that a write can raise ends or stops this process: not for a pipe that has lost its
/// reader, a file that may not grow, or a terminal that wants to stop background processes.
class QuietWriting {
 public:
  QuietWriting() {
    ::sigemptyset(&raised_);
    for (const int number : {SIGPIPE, SIGXFSZ, SIGTTOU}) ::sigaddset(&raised_, number);
    ::pthread_sigmask(SIG_BLOCK, &raised_, &maskBefore_);
    // What waits already is not of this write.
    sigset_t waiting;
    ::sigpending(&waiting);
    for (const int number : {SIGPIPE, SIGXFSZ, SIGTTOU}) {
      if (::sigismember(&waiting, number) == 1) ::sigdelset(&raised_, number);
    }
  }
  ~QuietWriting() {
    const timespec noTime{};
    while (::sigtimedwait(&raised_, nullptr, &noTime) > 0) {
    }
    ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
  }
  QuietWriting(const QuietWriting&) = delete;
  QuietWriting& operator=(const QuietWriting&) = delete;

 private:
  sigset_t raised_;
  sigset_t maskBefore_;
};

/// Writes a line to a pipe or a terminal without waiting for its reader. The descriptor is shared with whoever started
/// this process, so its flags are not changed: a description of its own is opened on the same pipe or terminal. Where
/// that is refused, as for another user's, as much is written as a pipe with any room at all has room for.
void writeWithoutWaiting(std::string_view line) {
  const FileDescriptor own(::open("/dev/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (own.isOpen()) {
    writeOnce(own.get(), line);
    return;
  }
  pollfd room{STDERR_FILENO, POLLOUT, 0};
  if (::poll(&room, 1, 0) != 1) return;
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
    ::send(STDERR_FILENO, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  } else {
    writeWithoutWaiting(line);
  }
}

void writeToSystemLog(const std::string& datagram) {
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen()) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, kSystemLogSocket, sizeof kSystemLogSocket);
  ::sendto(socket.get(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
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
    timeval now;
    ::gettimeofday(&now, nullptr);
    const std::string text = printable(message);
    const std::string name = printable(programName());
    const std::string process = std::to_string(::getpid());

    char milliseconds[8];
    std::snprintf(milliseconds, sizeof milliseconds, ".%03d ", static_cast<int>(now.tv_usec / 1000 % 1000));
    writeToStandardError(localTime("%Y-%m-%d %H:%M:%S", now) + milliseconds + name + "[" + process + ":" +
                         std::to_string(currentThreadId()) + "] " + text + "\n");

    writeToSystemLog("<" + std::to_string(kPriority) + ">" + localTime("%b %e %H:%M:%S ", now) + name + "[" + process +
                     "]: " + text);
  } catch (const std::bad_alloc&) {
    // A line that there is no memory for is lost like any other.
  }
}

}  // namespace zk
