#include <algorithm>
#include <cstdlib>

#include "system/Port.h"

namespace zk {

namespace {

std::string_view environment(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment.
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace

// Those that LANGUAGE lists, then the one in LC_ALL, LC_MESSAGES or LANG, whichever is set first.
std::vector<std::string> port::userLanguages() {
  std::vector<std::string> languages;
  std::string_view list = environment("LANGUAGE");
  while (!list.empty()) {
    const std::string_view language = list.substr(0, list.find(':'));
    languages.emplace_back(language);
    list.remove_prefix(std::min(language.size() + 1, list.size()));
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (environment(variable).empty()) continue;
    languages.emplace_back(environment(variable));
    break;
  }
  return languages;
}

}  // namespace zk
