#pragma once

#include <string>
#include <vector>

namespace zk {

/// The names of the languages that the environment asks for, the most wanted first: those that LANGUAGE lists, then the
/// one in LC_ALL, LC_MESSAGES or LANG, whichever is set first. Each is given as it is written, then with hyphens, then
/// without its region: "pt_BR.UTF-8" gives pt_BR, pt-BR, pt.
std::vector<std::string> wantedLanguages();

}  // namespace zk
