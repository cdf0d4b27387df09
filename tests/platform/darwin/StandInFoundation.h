#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "darwin/Declarations.h"

namespace zk::test {

/// A stand-in for Core Foundation that follows its published contracts: what is created or copied belongs to the
/// caller, what is got does not, and collections keep what they hold. It fails the test if an object is used after its
/// end, taken for one of another type, or never released. One lives at a time.
class StandInFoundation {
 public:
  StandInFoundation();
  ~StandInFoundation();
  StandInFoundation(const StandInFoundation&) = delete;
  StandInFoundation& operator=(const StandInFoundation&) = delete;

  /// The calls. A test may replace one, for instance to let it fail.
  darwin::CoreFoundationFunctions functions;

  // New objects; the caller owns them.
  static darwin::Object text(const std::string& bytes);
  static darwin::Object number();
  /// Takes over the objects that it is given.
  static darwin::Object array(const std::vector<darwin::Object>& values);
  static darwin::Object dictionary(const std::vector<std::pair<std::string, darwin::Object>>& entries);

  // What a living object holds.
  static std::string bytesOf(darwin::Object text);
  static std::vector<std::string> textsOf(darwin::Object array);
  static std::map<std::string, darwin::Object> entriesOf(darwin::Object dictionary);
  /// A folder's path ends with a slash.
  static std::string pathOf(darwin::Object url);

  /// What CFLocaleCopyPreferredLanguages() hands out next; null for none.
  darwin::Object languages = nullptr;
};

}  // namespace zk::test
