#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "host/ScriptedHost.h"
#include "support/Memory.h"
#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

namespace zk::test {

namespace {

constexpr int kOutOfMemory = 12;

/// Makes a call again and again, each time with one more allocation before memory runs out, until it has enough. No
/// exception may come out, and each failure has to be told or to make no difference.
void expectNoExceptions(const std::function<int()>& call) {
  int failures = 0;
  for (std::size_t succeeding = 0;; ++succeeding) {
    ASSERT_LT(succeeding, 10'000U) << "it never has enough";
    int number = 0;
    bool hasFailed = false;
    {
      const FailingAllocation failing(succeeding, FailingAllocation::How::fromThenOn);
      number = call();
      hasFailed = failing.hasFailed();
    }
    if (!hasFailed) break;
    if (number == kOutOfMemory) ++failures;
  }
  EXPECT_GT(failures, 0);
}

TEST(OutOfMemory, IsAnErrorNumberOfSemaphores) {
  const SemaphoreName name;
  zk_semaphore* semaphore = nullptr;
  expectNoExceptions([&] {
    zk_semaphore_close(semaphore);
    return zk_semaphore_create(name.bytes().c_str(), 0, 0600, 1, &semaphore);
  });
  ASSERT_NE(semaphore, nullptr);
  ASSERT_EQ(zk_semaphore_try_wait(semaphore), 0);
  expectNoExceptions([&] { return zk_semaphore_try_wait(semaphore); });
  zk_semaphore_close(semaphore);
}

TEST(OutOfMemory, IsAnErrorNumberOfVersions) {
  std::uint64_t version = 0;
  expectNoExceptions([&] { return zk_version_parse("1.2.3 (4)", &version); });
  EXPECT_EQ(version, 102'030'004U);
}

TEST(OutOfMemory, LeavesTheTextOfAVersionEmpty) {
  char text[ZK_VERSION_TEXT_SIZE] = "before";
  {
    const FailingAllocation failing(0, FailingAllocation::How::fromThenOn);
    zk_version_text(102'030'004, text, sizeof text);
  }
  EXPECT_STREQ(text, "");
}

TEST(OutOfMemory, IsAnErrorNumberOfUpdates) {
  ScriptedHost host;
  const System::Scope scope(host);
  writeBundle(host.updates / "X.app");
  const std::string updates = host.updates;
  zk_update* update = nullptr;
  expectNoExceptions([&] {
    const int number = zk_update_begin("/opt/zkupdater", updates.c_str(), 0, 10, &update);
    zk_update_free(update);
    update = nullptr;
    return number;
  });
  for (const std::string& name : std::exchange(host.semaphoreNames, {})) {
    zk_semaphore* semaphore = nullptr;
    EXPECT_EQ(zk_semaphore_open(name.c_str(), &semaphore), ZKENOENT) << name;
    zk_semaphore_close(semaphore);
  }
}

TEST(OutOfMemory, DoesNotHideWhatAnUpdateHasComeTo) {
  ScriptedHost host;
  const System::Scope scope(host);
  writeBundle(host.updates / "X.app");
  bool hasFailed = true;
  for (std::size_t succeeding = 0; hasFailed; ++succeeding) {
    host.installer = {};
    zk_update* update = nullptr;
    ASSERT_EQ(zk_update_begin("/opt/zkupdater", host.updates.c_str(), 0, 10, &update), 0);
    host.installer = {false, 1, "a line that is too long for a string to hold it without an allocation"};
    zk_update_state state = ZK_UPDATE_WAITING;
    {
      const FailingAllocation failing(succeeding, FailingAllocation::How::fromThenOn);
      state = zk_update_poll(update);
      hasFailed = failing.hasFailed();
    }
    EXPECT_EQ(state, ZK_UPDATE_ENDED) << "with " << succeeding << " allocations";
    zk_update_free(update);
  }
}

TEST(OutOfMemory, IsAnErrorNumberOfOutcomes) {
  ScriptedHost host;
  const System::Scope scope(host);
  writeBundle(host.updates / "X.app");
  const std::string updates = host.updates;
  host.startInstaller();
  const std::filesystem::path backup = host.backUp();

  const char* arguments[] = {"X"};
  zk_outcome* outcome = nullptr;
  expectNoExceptions([&] {
    zk_outcome_free(outcome);
    return zk_outcome_read(1, arguments, updates.c_str(), &outcome);
  });
  EXPECT_EQ(zk_outcome_backup_path(outcome), backup);
  zk_outcome_free(outcome);
}

}  // namespace

}  // namespace zk::test
