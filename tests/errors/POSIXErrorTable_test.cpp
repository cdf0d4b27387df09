#include "POSIXErrorTable.h"

#include <gtest/gtest.h>

#include <limits>

#include "POSIXErrorRows.h"
#include "support/Memory.h"

namespace zk {
namespace {

TEST(POSIXErrorTable, HoldsEveryRowToTheLastSpace) {
  ASSERT_EQ(std::size(test::kPOSIXErrorRows), 105U);
  for (const auto& row : test::kPOSIXErrorRows) {
    EXPECT_STREQ(ZKPOSIXErrorName(row.number), row.name) << row.number;
    EXPECT_STREQ(ZKPOSIXErrorDescription(row.number), row.description) << row.number;
  }
}

TEST(POSIXErrorTable, RowsThatLookUntidyAreIntended) {
  EXPECT_STREQ(ZKPOSIXErrorDescription(105), "");
  EXPECT_STREQ(ZKPOSIXErrorDescription(95), "Reserved");
  EXPECT_STREQ(ZKPOSIXErrorDescription(97), "Reserved");
  EXPECT_STREQ(ZKPOSIXErrorDescription(41), " Protocol wrong type for socket");
  EXPECT_STREQ(ZKPOSIXErrorDescription(44), " Socket type not supported");
  EXPECT_STREQ(ZKPOSIXErrorDescription(65), " No route to host");
  EXPECT_STREQ(ZKPOSIXErrorName(35), "EAGAIN/EWOULDBLOCK");
  EXPECT_STREQ(ZKPOSIXErrorDescription(35), "Resource temporarily unavailable / Operation would block");
  EXPECT_STREQ(ZKPOSIXErrorName(45), "ENOTSUP/EOPNOTSUPP");
  EXPECT_STREQ(ZKPOSIXErrorDescription(45), "Operation not supported/Operation not supported on socket");
  EXPECT_STREQ(ZKPOSIXErrorName(102), "EOPNOTSUPP");
}

TEST(POSIXErrorTable, NamesItsFirstAndLastRow) {
  EXPECT_STREQ(ZKPOSIXErrorName(1), "EPERM");
  EXPECT_STREQ(ZKPOSIXErrorName(105), "EOWNERDEAD");
}

TEST(POSIXErrorTable, GivesOneSharedEmptyTextOutsideItsRows) {
  const char* const empty = ZKPOSIXErrorName(0);
  EXPECT_STREQ(empty, "");
  for (const std::int32_t number :
       {0, -1, 106, 107, 1000, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(ZKPOSIXErrorName(number), empty) << number;
    EXPECT_EQ(ZKPOSIXErrorDescription(number), empty) << number;
  }
}

TEST(POSIXErrorTable, LooksUpWithoutAllocating) {
  const std::size_t before = test::allocationCount();
  std::size_t length = 0;
  for (std::int32_t number = -5; number < 120; ++number) {
    length += std::char_traits<char>::length(ZKPOSIXErrorDescription(number));
  }
  EXPECT_EQ(test::allocationCount(), before);
  EXPECT_GT(length, 0U);
}

}  // namespace
}  // namespace zk
