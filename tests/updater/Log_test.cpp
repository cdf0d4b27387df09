#include <gtest/gtest.h>

#include <regex>

#include "ZKUpdater.h"
#include "ZKUpdaterLog.h"
#include "support/Memory.h"
#include "updater/BareUpdater.h"
#include "updater/ScriptedRun.h"

namespace zk {
namespace {

class Log : public testing::Test {
 protected:
  std::string line() const { return run.rawLog.empty() ? "(nothing)" : run.rawLog.back(); }

  test::ScriptedRun run;
  System::Scope scope{run};
  const Class aClass = ZKUpdater::classObject();
};

TEST_F(Log, WritesTheClassTheCategoryAndTheMessage) {
  ZKUpdaterLog(aClass, nullptr, "Error"_ns, "Unable to locate update bundle."_ns);
  EXPECT_EQ(line(), "[ZKUpdater] Error: Unable to locate update bundle.");
}

TEST_F(Log, WritesTheObjectsAddress) {
  const Ref<NSString> object = "an object"_ns;
  ZKUpdaterLog(aClass, object.get(), nullptr, "Begin installation"_ns);
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(object.get()));
  EXPECT_EQ(line(), std::string("[ZKUpdater (") + address + ")] Begin installation");
}

TEST_F(Log, WritesNoCategoryIfItIsEmptyOrAbsent) {
  ZKUpdaterLog(aClass, nullptr, ""_ns, "message"_ns);
  EXPECT_EQ(line(), "[ZKUpdater] message");
  ZKUpdaterLog(aClass, nullptr, nullptr, "message"_ns);
  EXPECT_EQ(line(), "[ZKUpdater] message");
}

TEST_F(Log, WritesOnlyThePrefixForAnEmptyOrAbsentFormat) {
  ZKUpdaterLog(aClass, nullptr, "Error"_ns, ""_ns);
  EXPECT_EQ(line(), "[ZKUpdater] Error:");
  ZKUpdaterLog(aClass, nullptr, nullptr, nullptr);
  EXPECT_EQ(line(), "[ZKUpdater]");
}

TEST_F(Log, FillsTheFormat) {
  ZKUpdaterLog(aClass, nullptr, nullptr, "%@ has %d of %s"_ns, "x"_ns, 3, "y");
  EXPECT_EQ(line(), "[ZKUpdater] x has 3 of y");
}

TEST_F(Log, LeavesPercentSignsInTheArgumentsAlone) {
  ZKUpdaterLog(aClass, nullptr, "50%@"_ns, "%@"_ns, "100%d"_ns);
  EXPECT_EQ(line(), "[ZKUpdater] 50%@: 100%d");
}

TEST_F(Log, FillsItsFormatsOnce) {
  // What is filled a second time loses half of its percent signs.
  ZKUpdaterLog(aClass, nullptr, "50%%"_ns, "%d%% %%%% of %@"_ns, 7, "100%%"_ns);
  EXPECT_EQ(line(), "[ZKUpdater] 50%%: 7% %% of 100%%");
  ZKUpdaterLog(aClass, nullptr, "Error"_ns, "%s, %@"_ns, "%s", "%@"_ns);
  EXPECT_EQ(line(), "[ZKUpdater] Error: %s, %@");
  ZKUpdaterLog(aClass, nullptr, "50%%"_ns, nullptr);
  EXPECT_EQ(line(), "[ZKUpdater] 50%%:");
}

TEST_F(Log, IsWrittenByTheFunctionWhateverTheSettingSays) {
  run.settings = {"zkupdater", "-enableLog", "NO"};
  ZKUpdaterLog(aClass, nullptr, nullptr, "message"_ns);
  EXPECT_EQ(run.rawLog.size(), 1U);
}

TEST_F(Log, LinesOfARunCarryTheUpdatersAddress) {
  const auto updater = ZKUpdater::init();
  ASSERT_NE(updater, nullptr);
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(static_cast<const NSObject*>(updater.get())));
  EXPECT_EQ(line(), std::string("[ZKUpdater (") + address + ")] Begin installation");
}

TEST_F(Log, LosesALineThatThereIsNoMemoryForAndNothingElse) {
  test::BareUpdater updater;
  updater.isLogEnabled = true;
  {
    const test::FailingAllocation failing(0, test::FailingAllocation::How::fromThenOn);
    updater.logError("Copy update to target failed. Performing rollback.");
    EXPECT_TRUE(failing.hasFailed());
  }
  EXPECT_TRUE(run.rawLog.empty());
}

}  // namespace
}  // namespace zk
