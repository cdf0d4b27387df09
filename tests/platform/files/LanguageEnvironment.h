#pragma once

#include <cstdlib>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace zk::test {

/// Sets the variables that ask for languages to these values, and unsets the others, as long as the object lives.
class LanguageEnvironment {
 public:
  explicit LanguageEnvironment(std::initializer_list<std::pair<const char*, const char*>> variables) {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* value = std::getenv(name);
      before_[name] = value == nullptr ? std::nullopt : std::optional<std::string>(value);
      ::unsetenv(name);
    }
    for (const auto& [name, value] : variables) ::setenv(name, value, 1);
  }
  ~LanguageEnvironment() {
    for (const auto& [name, value] : before_) {
      if (value) {
        ::setenv(name, value->c_str(), 1);
      } else {
        ::unsetenv(name);
      }
    }
  }
  LanguageEnvironment(const LanguageEnvironment&) = delete;
  LanguageEnvironment& operator=(const LanguageEnvironment&) = delete;

 private:
  std::map<const char*, std::optional<std::string>> before_;
};

}  // namespace zk::test
