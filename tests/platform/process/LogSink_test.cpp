#include "process/LogSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "support/ChildProcess.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"
#include "system/FileDescriptor.h"

namespace zk::test {

namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

constexpr char kTime[] = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}";

std::string readAvailable(int descriptor) {
  std::string content(1 << 20, '\0');
  const ssize_t count = ::read(descriptor, content.data(), content.size());
  content.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return content;
}

/// The two ends of a pipe or of a pair of sockets.
struct Ends {
  FileDescriptor reading;
  FileDescriptor writing;
};

Ends makePipe() {
  int ends[2];
  EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

Ends makeSockets(int type) {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// Writes until there is no room for another byte, then restores the descriptor's flags.
void fill(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  ASSERT_EQ(::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK), 0);
  const std::string some(1000, '.');
  while (::write(descriptor, some.data(), some.size()) > 0) {
  }
  while (::write(descriptor, ".", 1) > 0) {
  }
  ASSERT_EQ(::fcntl(descriptor, F_SETFL, flags), 0);
}

/// Logs in a child process that has `descriptor` as its standard error, and ends that process if it takes too long.
/// @return its exit status, as ChildProcess::wait gives it
int statusOfLogging(
    int descriptor, const std::string& message, const std::function<void()>& prepare = [] {}) {
  return statusInChild([&] {
    ::alarm(10);
    ::dup2(descriptor, STDERR_FILENO);
    prepare();
    writeLogLine(message);
  });
}

/// What a child process writes to its standard error, a file.
std::string loggedLine(
    const std::string& message, const std::function<void()>& prepare = [] {}) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(statusOfLogging(file.get(), message, prepare), 0);
  return readFile(folder / "log");
}

std::string ownName() { return std::filesystem::read_symlink("/proc/self/exe").filename(); }

TEST(LogLine, HasTheTimeTheProgramTheProcessTheThreadAndTheMessage) {
  const TemporaryFolder folder;
  const std::string line = loggedLine("a message", [&] { writeFile(folder / "pid", std::to_string(::getpid())); });
  const std::string process = readFile(folder / "pid");
  EXPECT_THAT(line,
              MatchesRegex(std::string(kTime) + " " + ownName() + "\\[" + process + ":" + process + "\\] a message\n"));
}

TEST(LogLine, HasTheIdOfTheThreadThatLogs) {
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

TEST(LogLine, HasTheLocalTime) {
  for (const char* zone : {"UTC0", "AAA-5:30", "BBB+11"}) {
    ::setenv("TZ", zone, 1);
    ::tzset();
    const time_t before = ::time(nullptr);
    const std::string line = loggedLine("x", [zone] {
      ::setenv("TZ", zone, 1);
      ::tzset();
    });
    const time_t after = ::time(nullptr);
    tm parts{};
    ASSERT_NE(::strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &parts), nullptr) << line;
    const time_t logged = ::mktime(&parts);
    EXPECT_GE(logged, before) << zone;
    EXPECT_LE(logged, after) << zone;
  }
  ::unsetenv("TZ");
  ::tzset();
}

TEST(LogLine, NamesAProgramWhoseFileIsGone) {
  const TemporaryFolder folder;
  copyProgram(ZK_LOGGING_PROGRAM, folder / "tool");
  const Ends pipe = makePipe();
  EXPECT_EQ(statusInChild([&] {
              ::dup2(pipe.writing.get(), STDERR_FILENO);
              ::execl((folder / "tool").c_str(), (folder / "tool").c_str(), "message", static_cast<char*>(nullptr));
              ::_exit(127);
            }),
            0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), HasSubstr(" tool["));
}

TEST(LogLine, IsOneWrite) {
  const auto writes = [] {
    std::ifstream file("/proc/self/io");
    for (std::string key, value; file >> key >> value;) {
      if (key == "syscw:") return std::stol(value);
    }
    return -1L;
  };
  if (writes() < 0) GTEST_SKIP() << "The system does not count writes.";
  const Ends pipe = makePipe();
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

TEST(LogLine, IsOneDatagram) {
  const Ends sockets = makeSockets(SOCK_DGRAM);
  EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(sockets.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, KeepsTheErrorNumber) {
  EXPECT_EQ(statusInChild([] {
              ::close(STDERR_FILENO);
              errno = 4711;
              writeLogLine("message");
              EXPECT_EQ(errno, 4711);
            }),
            0);
}

TEST(LogLine, StaysOneLineAndShowsEveryByte) {
  EXPECT_THAT(loggedLine(std::string("a\nb\r\x1B[31m\xFF\0z", 12)), HasSubstr("] a\\x0ab\\x0d\\x1b[31m\\xff\\x00z\n"));
}

TEST(LogLine, ReachesAFileWholeWhateverItsLength) {
  const std::string message(1'000'000, 'x');
  EXPECT_THAT(loggedLine(message), ::testing::EndsWith("] " + message + "\n"));
}

TEST(LogLine, ContinuesAfterTheParentsOutput) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(::write(file.get(), "before\n", 7), 7);
  EXPECT_EQ(statusOfLogging(file.get(), "message"), 0);
  EXPECT_EQ(::write(file.get(), "after\n", 6), 6);
  EXPECT_THAT(readFile(folder / "log"), MatchesRegex("before\n[^\n]*message\nafter\n"));
}

TEST(LogLine, IsLostWithoutAStandardError) {
  EXPECT_EQ(statusInChild([] {
              ::close(STDERR_FILENO);
              writeLogLine("message");
            }),
            0);
}

TEST(LogLine, IsLostIfStandardErrorCannotBeWritten) {
  const FileDescriptor readOnly(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(statusOfLogging(readOnly.get(), "message"), 0);
  const FileDescriptor folder(::open("/", O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(statusOfLogging(folder.get(), "message"), 0);
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  EXPECT_EQ(statusOfLogging(full.get(), "message"), 0);
}

TEST(LogLine, IsLostIfTheFileMayNotGrow) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(statusOfLogging(file.get(), "message",
                            [] {
                              const rlimit none{0, 0};
                              ::setrlimit(RLIMIT_FSIZE, &none);
                            }),
            0);
}

TEST(LogLine, GoesThroughAPipe) {
  const Ends pipe = makePipe();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, IsLostIfTheReaderOfAPipeHasGoneAway) {
  Ends pipe = makePipe();
  pipe.reading.reset();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
}

TEST(LogLine, IsLostIfAPipeIsFull) {
  const Ends pipe = makePipe();
  fill(pipe.writing.get());
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
}

TEST(LogLine, IsCutIfItIsLongerThanAPipe) {
  const Ends pipe = makePipe();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), std::string(1'000'000, 'x')), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), HasSubstr("] xxx"));
}

TEST(LogLine, LeavesTheFlagsOfTheSharedDescriptorAlone) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Ends pipe = makePipe();
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

TEST(LogLine, GoesThroughAPipeThatCannotBeOpenedAgain) {
  const Ends pipe = makePipe();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, IsLostIfAFullPipeCannotBeOpenedAgain) {
  const Ends pipe = makePipe();
  fill(pipe.writing.get());
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
}

TEST(LogLine, IsLostIfAPipeWithoutAReaderCannotBeOpenedAgain) {
  Ends pipe = makePipe();
  pipe.reading.reset();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message", refuseToOpen), 0);
}

TEST(LogLine, IsCutToTheRoomOfAPipeThatCannotBeOpenedAgain) {
  const Ends pipe = makePipe();
  const int size = ::fcntl(pipe.writing.get(), F_SETPIPE_SZ, 2 * PIPE_BUF);
  ASSERT_GT(size, 0);
  const std::string some(static_cast<std::size_t>(size) - PIPE_BUF, '.');
  ASSERT_EQ(::write(pipe.writing.get(), some.data(), some.size()), static_cast<ssize_t>(some.size()));
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), std::string(100'000, 'x'), refuseToOpen), 0);
  const std::string read = readAvailable(pipe.reading.get());
  EXPECT_EQ(read.size(), static_cast<std::size_t>(size));
  EXPECT_TRUE(read.ends_with("x\n")) << "the next line begins a line";
}

TEST(LogLine, GoesThroughASocket) {
  const Ends sockets = makeSockets(SOCK_STREAM);
  EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(sockets.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, IsLostIfNobodyReadsFromASocket) {
  for (const int type : {SOCK_STREAM, SOCK_DGRAM, SOCK_SEQPACKET}) {
    Ends sockets = makeSockets(type);
    fill(sockets.writing.get());
    EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
    sockets.reading.reset();
    EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  }
}

TEST(LogLine, DoesNotMixWithOtherProcessesLinesInAPipe) {
  const Ends pipe = makePipe();
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

/// A terminal: its controlling side, and the side of the processes that use it.
Ends makeTerminal() {
  const int own = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(own, 0);
  EXPECT_EQ(::grantpt(own), 0);
  EXPECT_EQ(::unlockpt(own), 0);
  std::array<char, 100> name{};
  EXPECT_EQ(::ptsname_r(own, name.data(), name.size()), 0);
  const int users = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(users, 0);
  return {FileDescriptor(own), FileDescriptor(users)};
}

TEST(LogLine, GoesToATerminal) {
  const Ends terminal = makeTerminal();
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(terminal.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\r\n"));
}

TEST(LogLine, IsLostIfATerminalIsHalted) {
  const Ends terminal = makeTerminal();
  ASSERT_EQ(::tcflow(terminal.writing.get(), TCOOFF), 0);
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message"), 0);
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message", refuseToOpen), 0);
}

TEST(LogLine, IsLostIfATerminalIsFull) {
  const Ends terminal = makeTerminal();
  fill(terminal.writing.get());
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message"), 0);
}

TEST(LogLine, IsLostIfATerminalHasGoneAway) {
  Ends terminal = makeTerminal();
  terminal.reading.reset();
  EXPECT_EQ(statusOfLogging(terminal.writing.get(), "message"), 0);
}

TEST(LogLine, DoesNotStopABackgroundProcess) {
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

TEST(LogLine, LeavesTheSignalMaskAndPendingSignalsAsTheyWere) {
  Ends pipe = makePipe();
  pipe.reading.reset();
  EXPECT_EQ(statusInChild([&] {
              const auto isMember = [](int (*ask)(sigset_t*), int number) {
                sigset_t set;
                ask(&set);
                return sigismember(&set, number) == 1;
              };
              const auto mask = [](sigset_t* set) { return ::pthread_sigmask(SIG_BLOCK, nullptr, set); };
              ::dup2(pipe.writing.get(), STDERR_FILENO);
              writeLogLine("message");
              for (const int number : {SIGPIPE, SIGXFSZ, SIGTTOU}) {
                EXPECT_FALSE(isMember(mask, number)) << number;
                EXPECT_FALSE(isMember(::sigpending, number)) << number;
              }
              sigset_t set;
              ::sigemptyset(&set);
              ::sigaddset(&set, SIGPIPE);
              ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
              ::raise(SIGPIPE);
              writeLogLine("message");
              EXPECT_TRUE(isMember(mask, SIGPIPE));
              EXPECT_TRUE(isMember(::sigpending, SIGPIPE));
            }),
            0);
}

TEST(Printable, KeepsTextAsItIs) {
  for (const char* text : {"", "plain", "a b\\c \"d\"", "é ∑ 漢 \U0001F600", "\\x0a"}) EXPECT_EQ(printable(text), text);
}

TEST(Printable, EscapesControlCharacters) {
  EXPECT_EQ(printable(std::string("\0", 1)), "\\x00");
  EXPECT_EQ(printable("\t\n\r\x1B\x1F \x7F"), "\\x09\\x0a\\x0d\\x1b\\x1f \\x7f");
  EXPECT_EQ(printable("\xC2\x80\xC2\x85\xC2\x9F\xC2\xA0"), "\\xc2\\x80\\xc2\\x85\\xc2\\x9f\xC2\xA0");
}

TEST(Printable, EscapesBytesThatAreNotUTF8) {
  EXPECT_EQ(printable("a\xFFz"), "a\\xffz");
  EXPECT_EQ(printable("\xC3"), "\\xc3");
  EXPECT_EQ(printable("\xC3\xA9\xA9"), "é\\xa9");
  EXPECT_EQ(printable("\xE2\x82z"), "\\xe2\\x82z");
  EXPECT_EQ(printable("\xC0\x8A"), "\\xc0\\x8a") << "a longer form of a line end";
  EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80") << "a surrogate";
  EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last character";
}

/// A child process with its own system log.
class SystemLogTest : public ::testing::Test {
 protected:
  /// Runs `body` with a socket of this type bound in the system log's place.
  static void withSystemLog(int type, const std::function<void(int socket)>& body) {
    const int status = statusInChild([&] {
      ::alarm(10);
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
