#include "process/NSLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ForwardingSystem.h"

namespace zk::test {

namespace {

class ListeningSystem final : public ForwardingSystem {
 public:
  void log(const std::string& message) override { messages.push_back(message); }
  std::vector<std::string> messages;
};

TEST(NSLog, WritesTheFilledFormat) {
  ListeningSystem system;
  const System::Scope scope(system);
  NSLog("%@ %d %s %@"_ns, "text"_ns, 42, "bytes", nullptr);
  NSLog("plain"_ns);
  EXPECT_THAT(system.messages, ::testing::ElementsAre("text 42 bytes (null)", "plain"));
}

TEST(NSLog, DoesNotTakeAnArgumentForAFormat) {
  ListeningSystem system;
  const System::Scope scope(system);
  NSLog("%@"_ns, "%@ %s %n"_ns);
  EXPECT_THAT(system.messages, ::testing::ElementsAre("%@ %s %n"));
}

}  // namespace

}  // namespace zk::test
