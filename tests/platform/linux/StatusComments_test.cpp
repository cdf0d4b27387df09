#include "system/Port.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string_view>

namespace zk {
namespace {

TEST(StatusComments, DescribesWellKnownStatuses) {
  struct Row {
    std::int32_t status;
    const char* word;
  };
  const Row rows[] = {
      {-33, "full"},          {-34, "full"},        {-35, "volume"},      {-36, "output"},      {-37, "name"},
      {-38, "not open"},      {-39, "End"},         {-42, "Too many"},    {-43, "not found"},   {-45, "locked"},
      {-46, "locked"},        {-47, "in use"},      {-48, "exists"},      {-49, "open"},        {-50, "parameter"},
      {-54, "permission"},    {-61, "write"},       {-108, "memory"},     {-120, "Folder"},     {-128, "Canceled"},
      {-192, "Resource"},     {-193, "file"},       {-600, "process"},    {-609, "connection"}, {-1407, "folder"},
      {-1701, "not found"},   {-1708, "handler"},   {-1712, "timed out"}, {-10810, "unknown"},  {-10814, "not found"},
      {-10827, "executable"}, {-10829, "sessions"}, {-1, "Queue"}};
  for (const Row& row : rows) {
    const char* const text = port::statusComment(row.status);
    ASSERT_NE(text, nullptr) << row.status;
    EXPECT_NE(std::string_view(text).find(row.word), std::string_view::npos) << row.status << ": " << text;
  }
}

TEST(StatusComments, KnowsNothingOfOtherStatuses) {
  for (const std::int32_t status :
       {0, 1, 43, 123'456'789, -6, -41, -601'000, -10'812, -10'830, std::numeric_limits<std::int32_t>::min(),
        std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(port::statusComment(status), nullptr) << status;
  }
}

TEST(StatusComments, EveryTextIsAPlainPhrase) {
  for (std::int32_t status = -100'000; status <= 100'000; ++status) {
    const char* const text = port::statusComment(status);
    if (text == nullptr) continue;
    const std::string_view phrase = text;
    ASSERT_FALSE(phrase.empty()) << status;
    EXPECT_TRUE(phrase.front() >= 'A' && phrase.front() <= 'Z') << phrase;
    EXPECT_TRUE(std::all_of(phrase.begin(), phrase.end(), [](char byte) { return byte >= ' ' && byte < 0x7F; }));
    EXPECT_NE(phrase.back(), '.') << phrase;
    EXPECT_EQ(port::statusComment(status), text) << "static storage";
  }
}

}  // namespace
}  // namespace zk
