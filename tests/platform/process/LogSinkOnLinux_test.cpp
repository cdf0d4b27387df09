#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "LogLines.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"
#include "support/linux/TracedChild.h"

namespace zk::test {

namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

std::string ownName() { return std::filesystem::read_symlink("/proc/self/exe").filename(); }

TEST(LogLineOnLinux, HasTheTimeTheProgramTheProcessTheThreadAndTheMessage) {
  const TemporaryFolder folder;
  const std::string line = loggedLine("a message", [&] { writeFile(folder / "pid", std::to_string(::getpid())); });
  const std::string process = readFile(folder / "pid");
  EXPECT_THAT(line,
              MatchesRegex(std::string(kTime) + " " + ownName() + "\\[" + process + ":" + process + "\\] a message\n"));
}

TEST(LogLineOnLinux, HasTheIdOfTheThreadThatLogs) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(statusInChild([&] {
              ::dup2(file.get(), STDERR_FILENO);
              std::thread([&] {
                writeLogLine("message");
                const std::string ids = std::to_string(::getpid()) + ":" + std::to_string(::syscall(SYS_gettid));
                EXPECT_THAT(readFile(folder / "log"), HasSubstr("[" + ids + "]"));
              }).join();
            }),
            0);
}

TEST(LogLineOnLinux, IsOneWrite) {
  const auto writes = [] {
    std::ifstream file("/proc/self/io");
    for (std::string key, value; file >> key >> value;) {
      if (key == "syscw:") return std::stol(value);
    }
    return -1L;
  };
  if (writes() < 0) GTEST_SKIP() << "The system does not count writes.";
  const Pipe pipe;
  EXPECT_EQ(statusInChild([&] {
              ::dup2(pipe.writing.get(), STDERR_FILENO);
              const long before = writes();
              writeLogLine("one");
              EXPECT_EQ(writes() - before, 1);
              writeLogLine(std::string(3000, 'x'));
              EXPECT_EQ(writes() - before, 2);
            }),
            0);
}

TEST(LogLineOnLinux, IsLostIfADeviceIsFull) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(statusOfLogging(full.get(), "message"), 0);
}

TEST(LogLineOnLinux, LeavesTheFlagsOfTheSharedDescriptorAlone) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.writing.get(), F_SETFL, flags), 0);
    const int before = ::fcntl(pipe.writing.get(), F_GETFL);
    const auto expectFlags = [&](pid_t /*pid*/, int stop) {
      EXPECT_EQ(::fcntl(pipe.writing.get(), F_GETFL), before) << "stop " << stop;
    };
    EXPECT_EQ(statusInTracedChild(
                  [&] {
                    ::dup2(pipe.writing.get(), STDERR_FILENO);
                    writeLogLine("message");
                  },
                  expectFlags),
              0);
    EXPECT_THAT(readAvailable(pipe.reading.get()), HasSubstr("message"));
  }
}

/// Makes it like another user's pipe, which cannot be opened again.
void refuseToOpen() { ASSERT_TRUE(refuseSystemCall(SYS_openat, EACCES)); }

TEST(LogLineOnLinux, GoesThroughAPipeThatCannotBeOpenedAgain) {
  const Pipe pipe;
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLineOnLinux, IsLostIfAFullPipeCannotBeOpenedAgain) {
  const Pipe pipe;
  fill(pipe.writing.get());
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
}

TEST(LogLineOnLinux, IsLostIfAPipeWithoutAReaderCannotBeOpenedAgain) {
  Pipe pipe;
  pipe.reading.reset();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
}

// On other systems the signal for such a write may end the process.
TEST(LogLineOnLinux, IsNotWrittenIfAPipeWithoutAReaderCannotBeOpenedAgain) {
  Pipe pipe;
  pipe.reading.reset();
  const auto refuseToOpenOrWrite = [] {
    refuseToOpen();
    ASSERT_TRUE(endAtSystemCall(SYS_write));
  };
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpenOrWrite), 0);
}

TEST(LogLineOnLinux, IsCutToTheRoomOfAPipeThatCannotBeOpenedAgain) {
  const Pipe pipe;
  const int size = ::fcntl(pipe.writing.get(), F_SETPIPE_SZ, 2 * PIPE_BUF);
  ASSERT_GT(size, 0);
  const std::string some(static_cast<std::size_t>(size) - PIPE_BUF, '.');
  ASSERT_EQ(::write(pipe.writing.get(), some.data(), some.size()), static_cast<ssize_t>(some.size()));
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), std::string(100'000, 'x'), refuseToOpen), 0);
  const std::string read = readAvailable(pipe.reading.get());
  EXPECT_EQ(read.size(), static_cast<std::size_t>(size));
  EXPECT_TRUE(read.ends_with("x\n")) << "the next line begins a line";
}

TEST(LogLineOnLinux, DoesNotMixWithOtherProcessesLinesInAPipe) {
  const Pipe pipe;
  std::vector<std::unique_ptr<ChildProcess>> processes;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    processes.push_back(std::make_unique<ChildProcess>([&pipe, letter](const ChildProcess::TellReady& tellReady) {
      ::dup2(pipe.writing.get(), STDERR_FILENO);
      tellReady();
      for (int count = 0; count < 20; ++count) writeLogLine(std::string(500, letter));
    }));
  }
  for (const auto& process : processes) EXPECT_EQ(process->wait(), 0);
  const std::string content = readAvailable(pipe.reading.get());
  std::istringstream lines(content);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_THAT(line, MatchesRegex(std::string(kTime) + " .*\\] (a+|b+|c+|d+)"));
  }
  EXPECT_EQ(count, 80);
}

TEST(LogLineOnLinux, IsLostIfNobodyReadsFromASocketOfPackets) {
  Ends sockets = makeSockets(SOCK_SEQPACKET);
  fill(sockets.writing.get());
  EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  sockets.reading.reset();
  EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
}

TEST(LogLineOnLinux, IsLostIfATerminalThatCannotBeOpenedAgainIsHalted) {
  const Ends terminal = makeTerminal();
  ASSERT_EQ(::tcflow(terminal.writing.get(), TCOOFF), 0);
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message", refuseToOpen), 0);
}

TEST(LogLineOnLinux, DoesNotStopABackgroundProcess) {
  const Ends terminal = makeTerminal();
  termios settings{};
  ASSERT_EQ(::tcgetattr(terminal.writing.get(), &settings), 0);
  settings.c_lflag |= TOSTOP;
  ASSERT_EQ(::tcsetattr(terminal.writing.get(), TCSANOW, &settings), 0);
  for (const bool canOpen : {true, false}) {
    EXPECT_EQ(statusInChild([&] {
                ::setsid();
                ASSERT_EQ(::ioctl(terminal.writing.get(), TIOCSCTTY, 0), 0);
                ChildProcess background([&] {
                  ::setpgid(0, 0);
                  ::dup2(terminal.writing.get(), STDERR_FILENO);
                  if (!canOpen) refuseToOpen();
                  writeLogLine("message");
                });
                siginfo_t info{};
                ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(background.pid()), &info, WEXITED | WSTOPPED | WNOWAIT), 0);
                EXPECT_EQ(info.si_code, CLD_EXITED);
              }),
              0);
    EXPECT_THAT(readAvailable(terminal.reading.get()), HasSubstr("] message\r\n"));
  }
}

/// A child process with its own system log.
class SystemLogTest : public ::testing::Test {
 protected:
  /// Runs `body` with a socket of this type bound in the system log's place.
  static void withSystemLog(int type, const std::function<void(int socket)>& body) {
    const int status = statusInChild([&] {
      ::alarm(kLongestLogging);
      if (!enterOwnMounts() || ::mount("none", "/dev", "tmpfs", 0, nullptr) != 0) ::_exit(kNotPermitted);
      const FileDescriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
      sockaddr_un address{AF_UNIX, "/dev/log"};
      ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
      ::close(STDERR_FILENO);
      body(socket.get());
    });
    if (status == kNotPermitted) GTEST_SKIP() << "Nothing can be mounted here.";
    EXPECT_EQ(status, 0);
  }
};

TEST_F(SystemLogTest, GetsTheMessageAsADatagramForUserAndNotice) {
  withSystemLog(SOCK_DGRAM, [](int socket) {
    writeLogLine("a\nmessage");
    EXPECT_THAT(readAvailable(socket),
                MatchesRegex("<13>[A-Z][a-z]{2} [ 0-9][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} " + ownName() + "\\[" +
                             std::to_string(::getpid()) + "\\]: a\\\\x0amessage"));
  });
}

TEST_F(SystemLogTest, IsNotWaitedForWhenItIsFull) {
  withSystemLog(SOCK_DGRAM, [](int) {
    for (int count = 0; count < 2000; ++count) writeLogLine(std::string(1000, 'x'));
  });
}

TEST_F(SystemLogTest, DoesNoHarmIfItRefusesTheMessage) {
  withSystemLog(SOCK_DGRAM, [](int socket) {
    ::shutdown(socket, SHUT_RDWR);
    writeLogLine("message");
    writeLogLine(std::string(1'000'000, 'x'));
  });
  withSystemLog(SOCK_STREAM, [](int) { writeLogLine("message"); });
}

}  // namespace

}  // namespace zk::test
