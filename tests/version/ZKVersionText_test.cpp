#include <gtest/gtest.h>

#include "ZKVersion.h"
#include "text/Formatting.h"

namespace zk {
namespace {

struct Row {
  std::uint64_t packed;
  const char* normal;
  const char* shortForm;
  const char* full;
};

void PrintTo(const Row& row, std::ostream* stream) { *stream << row.normal; }

class ZKVersionText : public testing::TestWithParam<Row> {};

TEST_P(ZKVersionText, HasThreeForms) {
  const Ref<ZKVersion> version = ZKVersion::initWithUnsignedLongLong(GetParam().packed);
  EXPECT_EQ(version->description()->bytes(), GetParam().normal);
  EXPECT_EQ(version->descriptionShort()->bytes(), GetParam().shortForm);
  EXPECT_EQ(version->descriptionFull()->bytes(), GetParam().full);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ZKVersionText,
    testing::Values(Row{100'010'013, "1.0.1 (13)", "1.0.1", "1.0.1.13"}, Row{102'000'005, "1.2 (5)", "1.2", "1.2.0.5"},
                    Row{102'030'000, "1.2.3 (0)", "1.2.3", "1.2.3.0"}, Row{1'000'000, "0.1 (0)", "0.1", "0.1.0.0"},
                    Row{0, "0.0 (0)", "0.0", "0.0.0.0"},
                    // An invalid version prints all the same.
                    Row{50'001, "0.0.5 (1)", "0.0.5", "0.0.5.1"},
                    Row{99'99'99'9999, "99.99.99 (9999)", "99.99.99", "99.99.99.9999"},
                    // A major beyond two digits prints as it reads, wrapped to 16 bits.
                    Row{65'535ULL * 100'000'000 + 7, "65535.0 (7)", "65535.0", "65535.0.0.7"},
                    Row{12'345'678'901'234, "57920.78.90 (1234)", "57920.78.90", "57920.78.90.1234"},
                    Row{18'446'744'073'709'551'615ULL, "50273.9.55 (1615)", "50273.9.55", "50273.9.55.1615"}));

TEST(ZKVersionText, TheNormalFormIsWhatPrintingAVersionShows) {
  EXPECT_EQ(stringWithFormat("version %@"_ns, ZKVersion::versionWithApplication())->bytes(), "version 1.0.1 (13)");
}

TEST(ZKVersionText, ShortFormsDoNotReadBackSinceTheSpinIsMissing) {
  EXPECT_FALSE(ZKVersion::versionWithString(ZKVersion::versionWithMajor(1, 2, 3, 4)->descriptionShort()));
  EXPECT_FALSE(ZKVersion::versionWithString(ZKVersion::versionWithMajor(1, 2, 0, 4)->descriptionShort()));
}

}  // namespace
}  // namespace zk
