#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "process/LogSink.h"
#include "support/ChildProcess.h"
#include "support/Pipe.h"
#include "support/TemporaryFolder.h"
#include "system/FileDescriptor.h"

// What the tests of log lines have in common.
namespace zk::test {

/// A pattern for the time that a line begins with.
inline constexpr char kTime[] = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}";

inline std::string readAvailable(int descriptor) {
  std::string content(1 << 20, '\0');
  const ssize_t count = ::read(descriptor, content.data(), content.size());
  content.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return content;
}

/// The two ends of a pair of sockets or of a terminal.
struct Ends {
  FileDescriptor reading;
  FileDescriptor writing;
};

inline Ends makeSockets(int type) {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, type, 0, ends), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// A terminal: its controlling side, and the side of the processes that use it.
inline Ends makeTerminal() {
  const int own = ::posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_GE(own, 0);
  EXPECT_EQ(::grantpt(own), 0);
  EXPECT_EQ(::unlockpt(own), 0);
  const int users = ::open(::ptsname(own), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(users, 0);
  return {FileDescriptor(own), FileDescriptor(users)};
}

/// Writes until there is no room for another byte, then restores the descriptor's flags.
inline void fill(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  ASSERT_EQ(::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK), 0);
  const std::string some(1000, '.');
  while (::write(descriptor, some.data(), some.size()) > 0) {
  }
  while (::write(descriptor, ".", 1) > 0) {
  }
  ASSERT_EQ(::fcntl(descriptor, F_SETFL, flags), 0);
}

/// How many seconds a child process may log: far more than it takes, and less than ctest gives a test.
inline constexpr unsigned kLongestLogging = 60;

/// Logs in a child process that has `descriptor` as its standard error, and ends that process if it takes too long.
/// @return its exit status, as ChildProcess::wait gives it
inline int statusOfLogging(
    int descriptor, const std::string& message, const std::function<void()>& prepare = [] {}) {
  return statusInChild([&] {
    ::alarm(kLongestLogging);
    ::dup2(descriptor, STDERR_FILENO);
    prepare();
    writeLogLine(message);
  });
}

/// What a child process writes to its standard error, a file.
inline std::string loggedLine(
    const std::string& message, const std::function<void()>& prepare = [] {}) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(statusOfLogging(file.get(), message, prepare), 0);
  return readFile(folder / "log");
}

}  // namespace zk::test
