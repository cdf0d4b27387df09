#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace zk::test {

inline constexpr char kReportingProgram[] = ZK_REPORTING_PROGRAM;

/// What the reporting program was started with: the values of each key.
using Report = std::map<std::string, std::vector<std::string>>;

inline Report readReport(const std::filesystem::path& path) {
  Report report;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    report[line.substr(0, equals)].push_back(line.substr(equals + 1));
  }
  EXPECT_FALSE(report.empty()) << "no report";
  return report;
}

/// The only value of a key.
inline std::string only(const Report& report, const std::string& key) {
  const auto entry = report.find(key);
  return entry != report.end() && entry->second.size() == 1 ? entry->second.front() : "(none or several)";
}

}  // namespace zk::test
