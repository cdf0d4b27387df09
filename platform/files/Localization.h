#pragma once

#include <string>
#include <vector>

namespace zk {

/// The names that translations for the user's languages may have, the most wanted first. Each language is given as the
/// system spells it, then with hyphens, then without its last parts: "pt_BR.UTF-8" gives pt_BR, pt-BR, pt, and
/// "zh-Hant-TW" gives zh-Hant-TW, zh-Hant, zh.
std::vector<std::string> wantedLanguages();

}  // namespace zk
