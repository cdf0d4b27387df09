#pragma once

#include <clocale>
#include <string>

namespace zk::test {

/// A scope in which the program's locale has a decimal comma, if the machine has such a locale.
class DecimalComma {
 public:
  DecimalComma() {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "it_IT.UTF-8", "es_ES.UTF-8"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) return;
    }
  }
  ~DecimalComma() { std::setlocale(LC_ALL, previous_.c_str()); }
  DecimalComma(const DecimalComma&) = delete;
  DecimalComma& operator=(const DecimalComma&) = delete;

  static bool isThere() { return *std::localeconv()->decimal_point == ','; }

 private:
  const std::string previous_ = std::setlocale(LC_ALL, nullptr);
};

}  // namespace zk::test
