#pragma once

#include <functional>

#include "StandInFoundation.h"
#include "darwin/Declarations.h"

namespace zk::test {

/// A stand-in for the process manager, which knows one process. One lives at a time.
class StandInProcessManager {
 public:
  static constexpr std::int32_t kPID = 501;

  StandInProcessManager();
  ~StandInProcessManager();
  StandInProcessManager(const StandInProcessManager&) = delete;
  StandInProcessManager& operator=(const StandInProcessManager&) = delete;

  /// The calls. A test may remove one.
  darwin::ProcessManagerFunctions functions;

  /// Makes what ProcessInformationCopyDictionary() hands out.
  std::function<darwin::Object()> makeDictionary = [] { return nullptr; };
  std::uint32_t launchStamp = 0;
  /// What the two calls about the known process answer.
  std::int32_t lookUpStatus = 0;
  std::int16_t informationStatus = 0;

  /// What the last calls were given.
  std::uint32_t mask = 0;
  darwin::InfoRecord record{};
};

}  // namespace zk::test
