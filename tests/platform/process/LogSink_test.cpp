#include "process/LogSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include "LogLines.h"
#include "objects/Path.h"
#include "process/SignalSet.h"
#include "support/RunningProgram.h"
#include "system/Port.h"

namespace zk::test {

namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

TEST(LogLine, HasTheTimeTheProgramTheProcessTheThreadAndTheMessage) {
  const TemporaryFolder folder;
  const std::string line = loggedLine("a message", [&] { writeFile(folder / "pid", std::to_string(::getpid())); });
  const std::string program(lastName(port::programPath()));
  EXPECT_THAT(line, MatchesRegex(std::string(kTime) + " " + program + "\\[" + readFile(folder / "pid") +
                                 ":[0-9]+\\] a message\n"));
}

TEST(LogLine, HasTheIdOfTheThreadThatLogs) {
  const TemporaryFolder folder;
  const FileDescriptor file(::open((folder / "log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  EXPECT_EQ(statusInChild([&] {
              ::dup2(file.get(), STDERR_FILENO);
              const long own = port::currentThreadId();
              std::thread([&] {
                writeLogLine("message");
                const long id = port::currentThreadId();
                EXPECT_NE(id, own);
                EXPECT_THAT(readFile(folder / "log"), HasSubstr(":" + std::to_string(id) + "]"));
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
  const Pipe pipe;
  EXPECT_EQ(statusInChild([&] {
              ::dup2(pipe.writing.get(), STDERR_FILENO);
              ::execl((folder / "tool").c_str(), (folder / "tool").c_str(), "message", static_cast<char*>(nullptr));
              ::_exit(127);
            }),
            0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), HasSubstr(" tool["));
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
  const Pipe pipe;
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, IsLostIfTheReaderOfAPipeHasGoneAway) {
  Pipe pipe;
  pipe.reading.reset();
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
}

TEST(LogLine, IsLostIfAPipeIsFull) {
  const Pipe pipe;
  fill(pipe.writing.get());
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), "message"), 0);
}

TEST(LogLine, IsCutIfItIsLongerThanAPipe) {
  const Pipe pipe;
  EXPECT_EQ(statusOfLogging(pipe.writing.get(), std::string(1'000'000, 'x')), 0);
  EXPECT_THAT(readAvailable(pipe.reading.get()), HasSubstr("] xxx"));
}

TEST(LogLine, GoesThroughASocket) {
  const Ends sockets = makeSockets(SOCK_STREAM);
  EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  EXPECT_THAT(readAvailable(sockets.reading.get()), MatchesRegex(std::string(kTime) + " .*\\] message\n"));
}

TEST(LogLine, IsLostIfNobodyReadsFromASocket) {
  for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
    Ends sockets = makeSockets(type);
    fill(sockets.writing.get());
    EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
    sockets.reading.reset();
    EXPECT_EQ(statusOfLogging(sockets.writing.get(), "message"), 0);
  }
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

TEST(LogLine, LeavesTheSignalMaskAndPendingSignalsAsTheyWere) {
  Pipe pipe;
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
              const sigset_t set = signalSet({SIGPIPE});
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

}  // namespace

}  // namespace zk::test
