#include "process/POSIXSystem.h"

#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <optional>

#include "support/ChildProcess.h"
#include "support/FrequentAlarm.h"
#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"

namespace zk::test {

namespace {

System& systemCalls() { return System::current(); }

/// A semaphore made for the test.
class POSIXSystemTest : public ::testing::Test {
 protected:
  ~POSIXSystemTest() override { close(); }

  void create(unsigned int value, SemaphoreFlags flags = ZKO_CREAT, std::uint16_t mode = 0666) {
    handle = systemCalls().sem_open(name.bytes().c_str(), flags, mode, value);
  }
  void close() {
    if (handle != ZKSEM_FAILED) systemCalls().sem_close(handle);
    handle = ZKSEM_FAILED;
  }

  const SemaphoreName name;
  SemaphoreHandle handle = ZKSEM_FAILED;
};

void expectRefused(int result, int error) {
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errorNumber(), error);
}

TEST_F(POSIXSystemTest, ReportsEINVALForAClosedSemaphore) {
  errno = 0;
  expectRefused(systemCalls().sem_wait(ZKSEM_FAILED), ZKEINVAL);
  errno = 0;
  expectRefused(systemCalls().sem_trywait(ZKSEM_FAILED), ZKEINVAL);
  errno = 0;
  expectRefused(systemCalls().sem_post(ZKSEM_FAILED), ZKEINVAL);
  errno = 0;
  expectRefused(systemCalls().sem_close(ZKSEM_FAILED), ZKEINVAL);
}

TEST_F(POSIXSystemTest, CreatesASemaphoreWithItsCount) {
  create(3);
  ASSERT_NE(handle, ZKSEM_FAILED);
  EXPECT_EQ(name.count(), 3);
}

TEST_F(POSIXSystemTest, OpensAnExistingSemaphoreAsItIs) {
  create(3);
  const SemaphoreHandle other = systemCalls().sem_open(name.bytes().c_str(), ZKO_CREAT, 0666, 7);
  EXPECT_EQ(name.count(), 3);
  EXPECT_EQ(systemCalls().sem_close(other), 0);
}

TEST_F(POSIXSystemTest, RefusesToCreateAnExistingSemaphoreExclusively) {
  create(1);
  errno = 0;
  EXPECT_EQ(systemCalls().sem_open(name.bytes().c_str(), ZKO_CREAT | ZKO_EXCL, 0666, 1), ZKSEM_FAILED);
  EXPECT_EQ(errorNumber(), ZKEEXIST);
}

TEST_F(POSIXSystemTest, CreatesAMissingSemaphoreExclusively) {
  create(1, ZKO_CREAT | ZKO_EXCL);
  EXPECT_NE(handle, ZKSEM_FAILED);
}

TEST_F(POSIXSystemTest, OpensOnlyAnExistingSemaphoreWithoutTheFlagToCreate) {
  for (const SemaphoreFlags flags : {SemaphoreFlags::none, ZKO_EXCL}) {
    errno = 0;
    EXPECT_EQ(systemCalls().sem_open(name.bytes().c_str(), flags, 0666, 1), ZKSEM_FAILED);
    EXPECT_EQ(errorNumber(), ZKENOENT);
  }
  EXPECT_FALSE(name.exists());
  create(1);
  const SemaphoreHandle other = systemCalls().sem_open(name.bytes().c_str(), SemaphoreFlags::none, 0, 0);
  EXPECT_NE(other, ZKSEM_FAILED);
  EXPECT_EQ(systemCalls().sem_close(other), 0);
}

TEST_F(POSIXSystemTest, DoesNotTakeOtherFlagsForTheFlagToCreate) {
  // The same two flags in Linux's own numbering.
  EXPECT_EQ(systemCalls().sem_open(name.bytes().c_str(), SemaphoreFlags{0100 | 0200}, 0666, 1), ZKSEM_FAILED);
  EXPECT_FALSE(name.exists());
}

TEST_F(POSIXSystemTest, CreatesASemaphoreWithTheModeLessTheUmask) {
  const auto modeOfNew = [this](std::uint16_t mode, mode_t mask) {
    const mode_t before = ::umask(mask);
    create(1, ZKO_CREAT | ZKO_EXCL, mode);
    ::umask(before);
    close();
    const std::optional<mode_t> found = semaphoreMode(name.bytes().c_str());
    systemCalls().sem_unlink(name.bytes().c_str());
    return found;
  };
  if (!modeOfNew(0666, 0)) GTEST_SKIP() << "The system does not tell.";
  EXPECT_EQ(modeOfNew(0666, 0), 0666U);
  EXPECT_EQ(modeOfNew(0666, 022), 0644U);
  EXPECT_EQ(modeOfNew(0600, 0), 0600U);
}

TEST_F(POSIXSystemTest, TakesAFreeSemaphoreAndGivesItBack) {
  create(1);
  EXPECT_EQ(systemCalls().sem_wait(handle), 0);
  EXPECT_EQ(name.count(), 0);
  EXPECT_EQ(systemCalls().sem_post(handle), 0);
  EXPECT_EQ(name.count(), 1);
  EXPECT_EQ(systemCalls().sem_trywait(handle), 0);
  EXPECT_EQ(name.count(), 0);
}

TEST_F(POSIXSystemTest, ReportsEAGAINForATakenSemaphore) {
  create(0);
  errno = 0;
  expectRefused(systemCalls().sem_trywait(handle), ZKEAGAIN);
  EXPECT_EQ(errorNumber(), 35);
}

TEST_F(POSIXSystemTest, WaitsUntilAnotherProcessGivesTheSemaphoreBack) {
  create(0);
  ChildProcess other([this](const ChildProcess::TellReady& tellReady) {
    tellReady();
    EXPECT_EQ(systemCalls().sem_wait(handle), 0);
  });
  other.waitUntilAsleep();
  EXPECT_EQ(systemCalls().sem_post(handle), 0);
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(name.count(), 0);
}

TEST_F(POSIXSystemTest, ReportsAWaitThatASignalHasInterrupted) {
  EXPECT_EQ(statusInChild([this] {
              create(0);
              const FrequentAlarm alarm;
              errno = 0;
              expectRefused(systemCalls().sem_wait(handle), ZKEINTR);
            }),
            0);
}

TEST_F(POSIXSystemTest, RefusesACountThatWouldBeTooLarge) {
  create(UINT_MAX);
  EXPECT_EQ(handle, ZKSEM_FAILED);
  EXPECT_EQ(errorNumber(), ZKEINVAL);
}

TEST_F(POSIXSystemTest, RemovesANameWhileHandlesStayUsable) {
  create(1);
  EXPECT_EQ(systemCalls().sem_unlink(name.bytes().c_str()), 0);
  EXPECT_FALSE(name.exists());
  EXPECT_EQ(systemCalls().sem_wait(handle), 0);
  EXPECT_EQ(systemCalls().sem_post(handle), 0);
  errno = 0;
  expectRefused(systemCalls().sem_unlink(name.bytes().c_str()), ZKENOENT);
}

TEST_F(POSIXSystemTest, RefusesANameThatIsTooLong) {
  errno = 0;
  EXPECT_EQ(systemCalls().sem_open(std::string(300, 'x').c_str(), ZKO_CREAT, 0666, 1), ZKSEM_FAILED);
  EXPECT_TRUE(errorNumber() == ZKENAMETOOLONG || errorNumber() == ZKEINVAL) << errorNumber();
}

TEST_F(POSIXSystemTest, ReturnsTheArgumentsItWasGiven) {
  EXPECT_EQ(statusInChild([] {
              EXPECT_TRUE(systemCalls().arguments().empty());
              setProcessArguments({"program", "-key", ""});
              EXPECT_EQ(systemCalls().arguments(), (std::vector<std::string>{"program", "-key", ""}));
            }),
            0);
}

TEST_F(POSIXSystemTest, MakesANewFileManagerEachTime) {
  const Ref<NSFileManager> first = systemCalls().makeFileManager();
  EXPECT_TRUE(first);
  EXPECT_NE(first, systemCalls().makeFileManager());
}

TEST_F(POSIXSystemTest, LeavesTheSignalsOfAHostAlone) {
  EXPECT_EQ(statusInChild([this] {
              create(1);
              const auto blocked = [] {
                sigset_t set;
                ::pthread_sigmask(SIG_BLOCK, nullptr, &set);
                return sigismember(&set, SIGTERM);
              };
              ASSERT_EQ(systemCalls().sem_trywait(handle), 0);
              ASSERT_EQ(systemCalls().sem_post(handle), 0);
              ASSERT_EQ(systemCalls().sem_wait(handle), 0);
              EXPECT_EQ(blocked(), 0);
              systemCalls().makeFileManager();
              EXPECT_EQ(blocked(), 0);
            }),
            0);
}

}  // namespace

}  // namespace zk::test
