#include "files/Localization.h"

#include <algorithm>
#include <string_view>

#include "system/Port.h"

namespace zk {

namespace {

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
  for (std::size_t end; (end = hyphenated.find_last_of('-')) != std::string::npos;) {
    hyphenated.resize(end);
    if (!hyphenated.empty()) add(hyphenated);
  }
}

}  // namespace

std::vector<std::string> wantedLanguages() {
  std::vector<std::string> names;
  for (const std::string& language : port::userLanguages()) addNames(names, language);
  return names;
}

}  // namespace zk
