#pragma once

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "StandInFoundation.h"
#include "darwin/Declarations.h"

namespace zk::test {

/// A stand-in for the Objective-C runtime with the one class NSWorkspace. Its launch method hands out an object that
/// belongs to the innermost pool. It fails the test if a pool stays open. One lives at a time.
class StandInWorkspace {
 public:
  /// @param foundation must outlive this
  explicit StandInWorkspace(StandInFoundation& foundation);
  ~StandInWorkspace();
  StandInWorkspace(const StandInWorkspace&) = delete;
  StandInWorkspace& operator=(const StandInWorkspace&) = delete;

  darwin::ObjectiveCFunctions functions;

  bool hasClass = true;
  bool hasSharedMethod = true;
  bool hasLaunchMethod = true;
  bool hasWorkspace = true;
  bool accepts = true;

  /// What the launch method was given.
  struct Launch {
    std::string path;
    unsigned long options;
    std::vector<std::string> keys;
    std::vector<std::string> arguments;
    bool hasErrorPlace;
  };
  std::optional<Launch> launch;

  StandInFoundation& foundation;
  /// The objects that each open pool releases at its end.
  std::list<std::vector<darwin::Object>> pools;
  const darwin::Object argumentsKey;
};

}  // namespace zk::test
