#include "text/RealNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>

#include "support/DecimalComma.h"

namespace zk {
namespace {

using namespace std::string_view_literals;
using Limits = std::numeric_limits<double>;

TEST(RealNumbers, ReadsDecimals) {
  EXPECT_EQ(realFromText("7"), 7);
  EXPECT_EQ(realFromText("-1.5"), -1.5);
  EXPECT_EQ(realFromText("+.5"), 0.5);
  EXPECT_EQ(realFromText("1."), 1);
  EXPECT_EQ(realFromText("2e3"), 2000);
  EXPECT_EQ(realFromText("2E-03"), 0.002);
  EXPECT_EQ(realFromText("0.1"), 0.1);
  EXPECT_TRUE(std::signbit(realFromText("-0").value()));
}

TEST(RealNumbers, ReadsNamesInAnyCase) {
  EXPECT_EQ(realFromText("inf"), Limits::infinity());
  EXPECT_EQ(realFromText("+Infinity"), Limits::infinity());
  EXPECT_EQ(realFromText("-INF"), -Limits::infinity());
  EXPECT_TRUE(std::isnan(realFromText("NaN").value()));
}

TEST(RealNumbers, ReadsTheWholeRangeOfADoubleAndNothingBeyond) {
  EXPECT_EQ(realFromText("1.7976931348623157e308"), Limits::max());
  EXPECT_EQ(realFromText("2.2250738585072014e-308"), Limits::min());
  EXPECT_EQ(realFromText("1e-310"), 1e-310) << "a denormal";
  EXPECT_EQ(realFromText("5e-324"), Limits::denorm_min());
  EXPECT_EQ(realFromText("0e400"), 0);
  for (const char* text : {"1e400", "-1e400", "1.7976931348623159e308", "1e-400", "-1e-400", "2e-324"}) {
    EXPECT_FALSE(realFromText(text)) << text;
  }
}

TEST(RealNumbers, ReadsTheWholeTextOrNothing) {
  for (const auto text : {""sv, "-"sv, "."sv, "e5"sv, "1e"sv, "1e+"sv, "1,5"sv, " 1"sv, "\n1"sv, "1 "sv, "+-1"sv,
                          "--1"sv, "0x1p3"sv, "0X1"sv, "1.5x"sv, "1.2.3"sv, "1\0"sv, "infinit"sv, "nan(1)"sv}) {
    EXPECT_FALSE(realFromText(text)) << text;
  }
}

TEST(RealNumbers, LeavesTheErrorNumberAsItWas) {
  for (const char* text : {"1", "1e400", "1e-400", "x"}) {
    errno = ENOENT;
    realFromText(text);
    EXPECT_EQ(errno, ENOENT) << text;
  }
}

TEST(RealNumbers, ReadsADecimalPointEvenIfTheHostHasADecimalComma) {
  const test::DecimalComma scope;
  if (!test::DecimalComma::isThere()) GTEST_SKIP() << "no locale with a decimal comma is installed";
  EXPECT_EQ(realFromText("1.5"), 1.5);
  EXPECT_FALSE(realFromText("1,5"));
  EXPECT_TRUE(test::DecimalComma::isThere()) << "the host keeps its locale";
}

}  // namespace
}  // namespace zk
