#include "system/ErrorNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

#include "platform/system/ErrorNumberRows.h"
#include "system/FileDescriptor.h"

namespace zk {
namespace {

TEST(ErrorNumbers, EveryNumberThatMacOSHasIsTranslatedByName) {
  for (const test::ErrorNumberRow& row : test::kErrorNumberRows) {
    EXPECT_EQ(macOSErrorNumber(row.system), row.macOS) << "system's " << row.system;
  }
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
