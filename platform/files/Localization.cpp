#include "files/Localization.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace zk {

namespace {

std::string_view environment(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment.
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

/// Adds the names that the translations for one locale may have.
void addNames(std::vector<std::string>& names, std::string_view locale) {
  const auto add = [&names](const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  };
  const std::string language(locale.substr(0, locale.find_first_of(".@")));
  // It becomes part of a path, and must not lead to another folder.
  if (language.empty() || language.find('/') != std::string::npos) return;

  add(language);
  std::string hyphenated = language;
  std::replace(hyphenated.begin(), hyphenated.end(), '_', '-');
  add(hyphenated);
  const std::string base = language.substr(0, language.find_first_of("_-"));
  if (!base.empty()) add(base);
}

}  // namespace

std::vector<std::string> wantedLanguages() {
  std::vector<std::string> names;
  std::string_view list = environment("LANGUAGE");
  while (!list.empty()) {
    const std::string_view locale = list.substr(0, list.find(':'));
    addNames(names, locale);
    list.remove_prefix(std::min(locale.size() + 1, list.size()));
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (environment(variable).empty()) continue;
    addNames(names, environment(variable));
    break;
  }
  return names;
}

}  // namespace zk
