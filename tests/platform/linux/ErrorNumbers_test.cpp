#include "system/ErrorNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>

#include "platform/system/ErrorNumberRows.h"

namespace zk {
namespace {

TEST(ErrorNumbersOnLinux, TwoNamesOfOneNumberAreTranslatedAlike) {
  EXPECT_EQ(macOSErrorNumber(EWOULDBLOCK), macOSErrorNumber(EAGAIN));
  EXPECT_EQ(macOSErrorNumber(EOPNOTSUPP), macOSErrorNumber(ENOTSUP));
  EXPECT_EQ(macOSErrorNumber(EDEADLOCK), macOSErrorNumber(EDEADLK));
}

TEST(ErrorNumbersOnLinux, AnyOtherNumberHasNoRow) {
  std::set<int> known;
  for (const test::ErrorNumberRow& row : test::kErrorNumberRows) known.insert(row.system);
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

}  // namespace
}  // namespace zk
