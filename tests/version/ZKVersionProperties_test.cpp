// What is true of every version, tried on many. A generator with a fixed seed chooses them, so that a failure can be
// repeated.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>

#include "ZKVersion.h"

namespace zk {
namespace {

constexpr int kTries = 20'000;

class ZKVersionProperties : public testing::Test {
 protected:
  std::uint64_t below(std::uint64_t bound) {
    return std::uniform_int_distribution<std::uint64_t>(0, bound - 1)(random);
  }

  /// A part. The ends of its range and their neighbours come up more often than by chance.
  std::uint16_t part(std::uint16_t largest) {
    const std::array<std::uint16_t, 4> ends = {0, 1, static_cast<std::uint16_t>(largest - 1), largest};
    return below(4) == 0 ? ends[below(ends.size())] : static_cast<std::uint16_t>(below(largest + 1U));
  }

  std::array<std::uint16_t, 4> parts() { return {part(99), part(99), part(99), part(9999)}; }

  std::mt19937_64 random{20'240'229};
};

Ref<ZKVersion> versionOf(const std::array<std::uint16_t, 4>& parts) {
  return ZKVersion::initWithMajor(parts[0], parts[1], parts[2], parts[3]);
}

TEST_F(ZKVersionProperties, PartsReadBackAsTheyWerePacked) {
  for (int count = 0; count < kTries; ++count) {
    const auto given = parts();
    const Ref<ZKVersion> version = versionOf(given);
    EXPECT_EQ((std::array{version->major(), version->minor(), version->micro(), version->spin()}), given);
    EXPECT_EQ(version->isValid(), given[0] != 0 || given[1] != 0);
  }
}

TEST_F(ZKVersionProperties, NormalAndFullFormsReadBackAndShortFormsDoNot) {
  for (int count = 0; count < kTries; ++count) {
    const Ref<ZKVersion> version = versionOf(parts());
    if (!version->isValid()) continue;
    for (const Ref<NSString>& form : {version->description(), version->descriptionFull()}) {
      const Ref<ZKVersion> back = ZKVersion::versionWithString(form);
      ASSERT_TRUE(back) << form->bytes();
      EXPECT_EQ(back->unsignedLongLong(), version->unsignedLongLong()) << form->bytes();
    }
    EXPECT_FALSE(ZKVersion::versionWithString(version->descriptionShort()));
  }
}

TEST_F(ZKVersionProperties, PackedValuesReadBackThroughTextAndNumber) {
  for (int count = 0; count < kTries; ++count) {
    const std::uint64_t packed = 1'000'000 + (random() >> below(44)) % 9'000'000'000'000'000'000ULL;
    const Ref<NSString> text = NSString::stringWithBytes(std::to_string(packed));
    ASSERT_TRUE(ZKVersion::versionWithString(text)) << packed;
    EXPECT_EQ(ZKVersion::versionWithString(text)->unsignedLongLong(), packed);
    EXPECT_EQ(ZKVersion::versionWithNumber(text)->unsignedLongLong(), packed);
    EXPECT_EQ(ZKVersion::versionWithNumber(ZKVersion::initWithUnsignedLongLong(packed)->number())->unsignedLongLong(),
              packed);
  }
}

TEST_F(ZKVersionProperties, VersionsSortByTheirParts) {
  for (int count = 0; count < kTries; ++count) {
    const auto left = parts();
    auto right = parts();
    // Often equal in the leading parts, so that the later ones decide.
    std::copy_n(left.begin(), below(5), right.begin());

    const Ref<ZKVersion> version = versionOf(left);
    const Ref<ZKVersion> other = versionOf(right);
    EXPECT_EQ(version->compare(other), left < right ? -1 : left > right ? 1 : 0);
    EXPECT_EQ(version->isLessThan(other), left < right);
    EXPECT_EQ(version->isLessThanOrEqualTo(other), left <= right);
    EXPECT_EQ(version->isGreaterThan(other), left > right);
    EXPECT_EQ(version->isGreaterThanOrEqualTo(other), left >= right);
    EXPECT_EQ(version->isNotEqualTo(other), left != right);
    EXPECT_EQ(version->isEqual(other), left == right);
    EXPECT_EQ(version->isEqualToVersion(other), left == right);
    EXPECT_TRUE(left != right || version->hash() == other->hash());
  }
}

TEST_F(ZKVersionProperties, EqualValuesHashEqual) {
  for (int count = 0; count < kTries; ++count) {
    const std::uint64_t packed = random() >> below(64);
    EXPECT_EQ(ZKVersion::initWithUnsignedLongLong(packed)->hash(), ZKVersion::initWithUnsignedLongLong(packed)->hash());
  }
}

TEST_F(ZKVersionProperties, EverySetterClampsClearsAndAdds) {
  struct Setter {
    void (ZKVersion::*set)(std::uint16_t);
    std::uint64_t largest;
    std::uint64_t kept;
    std::uint64_t weight;
  };
  const std::array<Setter, 4> setters = {{{&ZKVersion::setMajor, 99, 0xFFFFFFFFB1E9FCFF, 100'000'000},
                                          {&ZKVersion::setMinor, 99, 0xFFFFFFFFFA19613F, 1'000'000},
                                          {&ZKVersion::setMicro, 99, 0xFFFFFFFFFFF0E4CF, 10'000},
                                          {&ZKVersion::setSpin, 9'999, 0xFFFFFFFFFFFFD8F0, 1}}};
  for (int count = 0; count < kTries; ++count) {
    const std::uint64_t packed = random() >> below(64);
    const auto part = static_cast<std::uint16_t>(random() >> below(16));
    for (const Setter& setter : setters) {
      const std::uint64_t clamped = part > setter.largest ? setter.largest : part;
      const Ref<ZKVersion> version = ZKVersion::initWithUnsignedLongLong(packed);
      ((*version).*setter.set)(part);
      EXPECT_EQ(version->unsignedLongLong(), (packed & setter.kept) + clamped * setter.weight)
          << packed << ", " << part;
    }
  }
}

TEST_F(ZKVersionProperties, EveryPartIsReadFromDecimalDigits) {
  for (int count = 0; count < kTries; ++count) {
    const std::uint64_t packed = random() >> below(64);
    // Twenty digits, the most that the number can have: spin, micro and minor are the last eight.
    std::string digits = std::to_string(packed);
    digits.insert(0, 20 - digits.size(), '0');
    EXPECT_EQ(ZKVersion::extractSpin(packed), std::stoul(digits.substr(16)));
    EXPECT_EQ(ZKVersion::extractMicro(packed), std::stoul(digits.substr(14, 2)));
    EXPECT_EQ(ZKVersion::extractMinor(packed), std::stoul(digits.substr(12, 2)));
    EXPECT_EQ(ZKVersion::extractMajor(packed), std::stoull(digits.substr(0, 12)) % 65'536);
  }
}

/// Texts that are nearly versions, and some that are nothing of the kind.
class ZKVersionTexts : public ZKVersionProperties {
 protected:
  std::string text() {
    static constexpr std::string_view kPieces[] = {"1",
                                                   "2",
                                                   "65534",
                                                   "65535",
                                                   "70000",
                                                   "0",
                                                   "-",
                                                   "+",
                                                   ".",
                                                   " ",
                                                   "(",
                                                   ")",
                                                   "\n",
                                                   "\t",
                                                   "\xC2\xA0",
                                                   "\xE2\x80\x83",
                                                   "\xE2\x80",
                                                   "\xFF",
                                                   "x",
                                                   "(4)",
                                                   "9223372036854775807",
                                                   "-9223372036854775808",
                                                   "100010013"};
    std::string text = below(2) == 0 ? versionOf(parts())->description()->bytes() : std::string();
    for (std::uint64_t count = below(4); count > 0; --count) {
      const std::string_view piece = kPieces[below(std::size(kPieces))];
      text.insert(below(text.size() + 1), piece);
    }
    if (below(4) == 0 && !text.empty()) {
      text[below(text.size())] = static_cast<char>(random());
    }
    return text;
  }
};

TEST_F(ZKVersionTexts, NoTextGivesAnInvalidVersion) {
  int read = 0;
  for (int count = 0; count < 5 * kTries; ++count) {
    const std::string given = text();
    const Ref<ZKVersion> version = ZKVersion::versionWithString(NSString::stringWithBytes(given));
    if (!version) continue;
    ++read;
    EXPECT_GE(version->unsignedLongLong(), 1'000'000U) << given;
  }
  EXPECT_GT(read, kTries / 2) << "the texts are too far from versions to prove anything";
}

TEST_F(ZKVersionTexts, WhiteSpaceAroundATextChangesNothing) {
  const auto packed = [](const std::string& text) {
    const Ref<ZKVersion> version = ZKVersion::versionWithString(NSString::stringWithBytes(text));
    return version ? version->unsignedLongLong() : 0;
  };
  for (int count = 0; count < kTries; ++count) {
    const std::string given = text();
    EXPECT_EQ(packed(" \t" + given), packed(given)) << given;
    EXPECT_EQ(packed(given + "\r\n\xE2\x80\x83"), packed(given)) << given;
  }
}

}  // namespace
}  // namespace zk
