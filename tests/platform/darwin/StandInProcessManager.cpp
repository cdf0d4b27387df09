#include "StandInProcessManager.h"

#include <gtest/gtest.h>

namespace zk::test {

namespace {

constexpr std::int32_t kNoSuchProcess = -600;
constexpr std::int16_t kWrongParameter = -50;
constexpr darwin::SerialNumber kNumber{0, 12345};

StandInProcessManager* current = nullptr;

bool isKnown(const darwin::SerialNumber& process) {
  return process.high == kNumber.high && process.low == kNumber.low;
}

std::int32_t serialNumberFor(std::int32_t pid, darwin::SerialNumber* process) {
  if (pid != StandInProcessManager::kPID) return kNoSuchProcess;
  if (current->lookUpStatus == 0) *process = kNumber;
  return current->lookUpStatus;
}

darwin::Object copyDictionary(const darwin::SerialNumber* process, std::uint32_t mask) {
  EXPECT_TRUE(isKnown(*process));
  current->mask = mask;
  return current->makeDictionary();
}

std::int16_t information(const darwin::SerialNumber* process, darwin::InfoRecord* record) {
  EXPECT_TRUE(isKnown(*process));
  current->record = *record;
  if (record->processInfoLength != 72) return kWrongParameter;
  if (current->informationStatus == 0) record->processLaunchDate = current->launchStamp;
  return current->informationStatus;
}

}  // namespace

StandInProcessManager::StandInProcessManager() : functions{serialNumberFor, copyDictionary, information} {
  EXPECT_EQ(current, nullptr);
  current = this;
}

StandInProcessManager::~StandInProcessManager() { current = nullptr; }

}  // namespace zk::test
