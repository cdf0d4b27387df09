// What applications in other languages cannot easily bring about; tests/acceptance/c_interface_test.py has the rest.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "host/ScriptedHost.h"
#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

namespace zk::test {
namespace {

/// Has no semaphore whose count may grow.
class FullSystem final : public ForwardingSystem {
  int sem_post(SemaphoreHandle /*semaphore*/) override {
    errno = EOVERFLOW;
    return -1;
  }
};

TEST(CInterface, ReportsAPostThatFails) {
  FullSystem system;
  const System::Scope scope(system);
  const SemaphoreName name;
  zk_semaphore* semaphore = nullptr;
  ASSERT_EQ(zk_semaphore_create(name.bytes().c_str(), 1, 0600, 1, &semaphore), 0);
  EXPECT_EQ(zk_semaphore_post(semaphore), macOSErrorNumber(EOVERFLOW));
  EXPECT_EQ(zk_semaphore_post_guarded(semaphore, "/"), ZKENOENT);
  zk_semaphore_close(semaphore);
}

TEST(CInterface, RefusesAFolderThatCannotBeAPath) {
  const SemaphoreName name;
  zk_semaphore* semaphore = nullptr;
  ASSERT_EQ(zk_semaphore_create(name.bytes().c_str(), 1, 0600, 1, &semaphore), 0);
  const std::string tooLong(5000, 'x');
  for (const char* folder : std::vector<const char*>{"", tooLong.c_str(), nullptr}) {
    EXPECT_EQ(zk_semaphore_wait_guarded(semaphore, folder, 0, 0), ZKEINVAL);
    EXPECT_EQ(zk_semaphore_post_guarded(semaphore, folder), ZKEINVAL);
  }
  EXPECT_EQ(name.count(), 1) << "neither taken nor given back";
  zk_semaphore_close(semaphore);
}

TEST(CInterface, RefusesFewerArgumentsThanTheirNumberSays) {
  const char* arguments[] = {"X", nullptr};
  zk_outcome* outcome = nullptr;
  EXPECT_EQ(zk_outcome_read(2, arguments, "/", &outcome), ZKEINVAL);
  EXPECT_EQ(outcome, nullptr);
  EXPECT_EQ(zk_outcome_read(1, arguments, "/", &outcome), 0);
  zk_outcome_free(outcome);
}

TEST(CInterface, PutsTheEmptyTextIntoRoomThatIsTooSmallForAVersion) {
  char text[ZK_VERSION_TEXT_SIZE] = "before";
  zk_version_text(1, text, 0);
  EXPECT_STREQ(text, "before");
  zk_version_text(1, text, sizeof text - 1);
  EXPECT_STREQ(text, "");
  zk_version_text(std::numeric_limits<std::uint64_t>::max(), text, sizeof text);
  EXPECT_STREQ(text, "50273.9.55 (1615)");
}

TEST(CInterface, TellsItsOwnVersion) { EXPECT_EQ(zk_library_version(), 100'010'013U); }

TEST(CInterface, TellsOfNoUpdateWhereThereWasNone) {
  const TemporaryFolder updates;
  zk_outcome* outcome = nullptr;
  ASSERT_EQ(zk_outcome_read(0, nullptr, updates.path().c_str(), &outcome), 0);
  EXPECT_EQ(zk_outcome_follows_update(outcome), 0);
  EXPECT_EQ(zk_outcome_was_installed(outcome), 0);
  EXPECT_STREQ(zk_outcome_from_version(outcome), "");
  EXPECT_STREQ(zk_outcome_backup_path(outcome), "");
  EXPECT_EQ(zk_outcome_accept(outcome), 0);
  EXPECT_EQ(zk_outcome_put_back(outcome), 0);
  EXPECT_TRUE(std::filesystem::exists(updates.path()));
  zk_outcome_free(outcome);
}

TEST(CInterface, PutsTheOldVersionBack) {
  ScriptedHost host;
  const System::Scope scope(host);
  writeBundle(host.updates / "X.app", entry("CFBundleVersion", "2"));
  host.startInstaller();
  const std::filesystem::path backup = host.backUp();
  host.swap();
  zk_outcome* outcome = nullptr;
  ASSERT_EQ(zk_outcome_read(0, nullptr, host.updates.c_str(), &outcome), 0);
  EXPECT_EQ(zk_outcome_was_installed(outcome), 1);
  EXPECT_EQ(zk_outcome_backup_path(outcome), backup);
  EXPECT_EQ(zk_outcome_put_back(outcome), 1);
  EXPECT_EQ(zk_outcome_was_installed(outcome), 0);
  EXPECT_STREQ(zk_outcome_backup_path(outcome), "");
  EXPECT_EQ(readFile(host.application / "Contents/Info.plist").find("CFBundleVersion"), std::string::npos);
  zk_outcome_free(outcome);
}

TEST(CInterface, ComparesVersions) {
  EXPECT_EQ(zk_version_compare(1, 2), -1);
  EXPECT_EQ(zk_version_compare(2, 2), 0);
  EXPECT_EQ(zk_version_compare(2, 1), 1);
}

class TimeLimits : public testing::Test {
 protected:
  TimeLimits() { writeBundle(host.updates / "X.app"); }

  zk_update* begin(double timeLimit) {
    zk_update* update = nullptr;
    EXPECT_EQ(zk_update_begin("/opt/zkupdater", host.updates.c_str(), 0, timeLimit, &update), 0);
    return update;
  }

  ScriptedHost host;
  System::Scope scope{host};
};

TEST_F(TimeLimits, OfNoTimeOrNoNumberHaveAlwaysPassed) {
  for (const double timeLimit :
       {0.0, -1.0, -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    host.installer = {};
    zk_update* const update = begin(timeLimit);
    EXPECT_EQ(zk_update_wait(update), ZK_UPDATE_LATE) << timeLimit;
    zk_update_free(update);
  }
}

TEST_F(TimeLimits, MayBeEndless) {
  zk_update* const update = begin(std::numeric_limits<double>::infinity());
  EXPECT_EQ(zk_update_poll(update), ZK_UPDATE_WAITING);
  zk_update_free(update);
}

}  // namespace
}  // namespace zk::test
