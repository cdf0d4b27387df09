#include "system/ErrorNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <set>

#include "system/FileDescriptor.h"

namespace zk {
namespace {

struct Row {
  int system;
  int macOS;
};

const Row kRows[] = {{EPERM, 1},
                     {ENOENT, 2},
                     {ESRCH, 3},
                     {EINTR, 4},
                     {EIO, 5},
                     {ENXIO, 6},
                     {E2BIG, 7},
                     {ENOEXEC, 8},
                     {EBADF, 9},
                     {ECHILD, 10},
                     {EDEADLK, 11},
                     {ENOMEM, 12},
                     {EACCES, 13},
                     {EFAULT, 14},
                     {ENOTBLK, 15},
                     {EBUSY, 16},
                     {EEXIST, 17},
                     {EXDEV, 18},
                     {ENODEV, 19},
                     {ENOTDIR, 20},
                     {EISDIR, 21},
                     {EINVAL, 22},
                     {ENFILE, 23},
                     {EMFILE, 24},
                     {ENOTTY, 25},
                     {ETXTBSY, 26},
                     {EFBIG, 27},
                     {ENOSPC, 28},
                     {ESPIPE, 29},
                     {EROFS, 30},
                     {EMLINK, 31},
                     {EPIPE, 32},
                     {EDOM, 33},
                     {ERANGE, 34},
                     {EAGAIN, 35},
                     {EINPROGRESS, 36},
                     {EALREADY, 37},
                     {ENOTSOCK, 38},
                     {EDESTADDRREQ, 39},
                     {EMSGSIZE, 40},
                     {EPROTOTYPE, 41},
                     {ENOPROTOOPT, 42},
                     {EPROTONOSUPPORT, 43},
                     {ESOCKTNOSUPPORT, 44},
                     {ENOTSUP, 45},
                     {EPFNOSUPPORT, 46},
                     {EAFNOSUPPORT, 47},
                     {EADDRINUSE, 48},
                     {EADDRNOTAVAIL, 49},
                     {ENETDOWN, 50},
                     {ENETUNREACH, 51},
                     {ENETRESET, 52},
                     {ECONNABORTED, 53},
                     {ECONNRESET, 54},
                     {ENOBUFS, 55},
                     {EISCONN, 56},
                     {ENOTCONN, 57},
                     {ESHUTDOWN, 58},
                     {ETOOMANYREFS, 59},
                     {ETIMEDOUT, 60},
                     {ECONNREFUSED, 61},
                     {ELOOP, 62},
                     {ENAMETOOLONG, 63},
                     {EHOSTDOWN, 64},
                     {EHOSTUNREACH, 65},
                     {ENOTEMPTY, 66},
                     {EUSERS, 68},
                     {EDQUOT, 69},
                     {ESTALE, 70},
                     {EREMOTE, 71},
                     {ENOLCK, 77},
                     {ENOSYS, 78},
                     {EOVERFLOW, 84},
                     {ECANCELED, 89},
                     {EIDRM, 90},
                     {ENOMSG, 91},
                     {EILSEQ, 92},
                     {EBADMSG, 94},
                     {EMULTIHOP, 95},
                     {ENODATA, 96},
                     {ENOLINK, 97},
                     {ENOSR, 98},
                     {ENOSTR, 99},
                     {EPROTO, 100},
                     {ETIME, 101},
                     {ENOTRECOVERABLE, 104},
                     {EOWNERDEAD, 105}};

TEST(ErrorNumbers, EveryNumberThatMacOSHasIsTranslatedByName) {
  for (const Row& row : kRows) EXPECT_EQ(macOSErrorNumber(row.system), row.macOS) << "system's " << row.system;
}

TEST(ErrorNumbers, TwoNamesOfOneNumberAreTranslatedAlike) {
  EXPECT_EQ(macOSErrorNumber(EWOULDBLOCK), macOSErrorNumber(EAGAIN));
  EXPECT_EQ(macOSErrorNumber(EOPNOTSUPP), macOSErrorNumber(ENOTSUP));
}

TEST(ErrorNumbers, AnyOtherNumberHasNoRow) {
  std::set<int> known;
  for (const Row& row : kRows) known.insert(row.system);
  std::set<int> translated;
  int count = 0;
  for (int number = 1; number < 1000; ++number) {
    const int macOS = macOSErrorNumber(number);
    EXPECT_TRUE(translated.insert(macOS).second) << number << " and another number are both " << macOS;
    EXPECT_EQ(macOS > 105, !known.contains(number)) << number;
    count += known.contains(number) ? 1 : 0;
  }
  EXPECT_EQ(static_cast<std::size_t>(count), known.size());
}

TEST(ErrorNumbers, NumbersThatAreNotErrorsStayAsTheyAre) {
  EXPECT_EQ(macOSErrorNumber(0), 0);
  EXPECT_EQ(macOSErrorNumber(-1), -1);
  EXPECT_EQ(macOSErrorNumber(std::numeric_limits<int>::min()), std::numeric_limits<int>::min());
}

TEST(ErrorNumbers, ConstantsAreTheTranslatedNumbers) {
  EXPECT_EQ(macOSErrorNumber(ENOENT), ZKENOENT);
  EXPECT_EQ(macOSErrorNumber(EINTR), ZKEINTR);
  EXPECT_EQ(macOSErrorNumber(EDEADLK), ZKEDEADLK);
  EXPECT_EQ(macOSErrorNumber(EACCES), ZKEACCES);
  EXPECT_EQ(macOSErrorNumber(EEXIST), ZKEEXIST);
  EXPECT_EQ(macOSErrorNumber(EINVAL), ZKEINVAL);
  EXPECT_EQ(macOSErrorNumber(ENFILE), ZKENFILE);
  EXPECT_EQ(macOSErrorNumber(EMFILE), ZKEMFILE);
  EXPECT_EQ(macOSErrorNumber(ENOSPC), ZKENOSPC);
  EXPECT_EQ(macOSErrorNumber(EAGAIN), ZKEAGAIN);
  EXPECT_EQ(macOSErrorNumber(ENAMETOOLONG), ZKENAMETOOLONG);
  EXPECT_EQ(macOSErrorNumber(ECANCELED), ZKECANCELED);
}

TEST(ErrorNumbers, ErrorNumberIsTheTranslatedErrno) {
  errno = EAGAIN;
  EXPECT_EQ(errorNumber(), 35);
  errno = ENAMETOOLONG;
  EXPECT_EQ(errorNumber(), 63);
  errno = 0;
  EXPECT_EQ(errorNumber(), 0);
}

TEST(ErrorNumberKeeper, PutsTheNumberBackAtTheEndOfItsScope) {
  errno = EAGAIN;
  {
    const ErrorNumberKeeper keeper;
    errno = ENOENT;
    EXPECT_EQ(errorNumber(), ZKENOENT) << "inside the scope it changes as usual";
  }
  EXPECT_EQ(errno, EAGAIN);
}

TEST(ErrorNumberKeeper, ScopesNest) {
  errno = EAGAIN;
  {
    const ErrorNumberKeeper outer;
    errno = EINVAL;
    {
      const ErrorNumberKeeper inner;
      errno = ENOENT;
    }
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_EQ(errno, EAGAIN);
}

TEST(FileDescriptor, ClosingKeepsTheErrorNumber) {
  errno = EAGAIN;
  { const FileDescriptor notOpen(1'000'000); }
  EXPECT_EQ(errno, EAGAIN);
}

}  // namespace
}  // namespace zk
