// Several threads that use objects of their own at once. tools/threads runs these tests under the thread sanitizer.

#include <gtest/gtest.h>

#include <functional>
#include <latch>
#include <thread>
#include <vector>

#include "NSErrorOSStatus.h"
#include "NSErrorPOSIX.h"
#include "ZKUpdateOutcome.h"
#include "ZKUpdateStart.h"
#include "ZKVersion.h"
#include "host/ScriptedHost.h"
#include "objects/NSAutoreleasePool.h"
#include "support/SemaphoreName.h"
#include "system/ErrorNumbers.h"
#include "zkupdater.h"

namespace zk::test {
namespace {

constexpr int kThreads = 4;
constexpr int kManyRounds = 300;

/// Runs `use` in all threads at once, several times in each. Counts of shared constants put threads into an order by
/// chance, which hides races: it takes many rounds to find one.
void inThreads(int rounds, const std::function<void()>& use) {
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < rounds; ++round) use();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Threads, MayUseVersions) {
  inThreads(kManyRounds, [] {
    const Ref<ZKVersion> version = ZKVersion::versionWithString("1.2.3 (4)"_ns);
    version->setUnsignedLongLong(102'030'000);
    EXPECT_EQ(version->description()->bytes(), "1.2.3 (0)");
    EXPECT_TRUE(ZKVersion::versionWithApplication()->isLessThan(version));
  });
}

TEST(Threads, MayUseErrors) {
  inThreads(kManyRounds, [] {
    const Ref<NSError> error = POSIX::errorWithPOSIXCode(macOSErrorNumber(ENOENT), "reason"_ns, "/path"_ns);
    EXPECT_EQ(error->description()->bytes(), "NSPOSIXErrorDomain 2: /path: No such file or directory: reason");
    EXPECT_EQ(OSStatus::errorWithOSStatus(-1, nullptr)->domain(), NSOSStatusErrorDomain);
  });
}

TEST(Threads, MayUseSemaphores) {
  const TemporaryFolder folder;
  inThreads(kManyRounds, [&folder] {
    const SemaphoreName name;
    const NSAutoreleasePool pool;
    const Ref<ZKPOSIXSemaphore> semaphore = ZKPOSIXSemaphore::createWithName(name.text(), true, 0600, 1);
    ASSERT_TRUE(semaphore);
    EXPECT_TRUE(semaphore->wait());
    Ref<NSError> error;
    EXPECT_FALSE(semaphore->tryWait(&error));
    EXPECT_EQ(error->localizedFailureReason()->bytes(), "The semaphore is already locked.");
    EXPECT_TRUE(semaphore->post());

    EXPECT_TRUE(semaphore->waitWithProcessInfo(folder.url(), 0, 0));
    EXPECT_FALSE(semaphore->waitWithProcessInfo(folder.url(), 1, 0, &error));
    EXPECT_TRUE(ZKPOSIXSemaphore::isBusyError(error));
    EXPECT_TRUE(semaphore->postWithProcessInfo(folder.url()));
  });
}

/// A process that runs from a bundle. Everything else is real.
class RunningFromBundle final : public ForwardingSystem {
 public:
  explicit RunningFromBundle(std::filesystem::path bundle) : bundle_(std::move(bundle)) { writeBundle(bundle_); }
  Ref<NSDictionary> ProcessInformationCopyDictionary(const ProcessSerialNumber& /*process*/,
                                                     std::uint32_t /*mask*/) override {
    return NSDictionary::dictionaryWithEntries({{ZKBundlePathKey, NSString::stringWithBytes(bundle_.string())}});
  }

 private:
  const std::filesystem::path bundle_;
};

TEST(Threads, MayStartUpdates) {
  const TemporaryFolder folder;
  RunningFromBundle host(folder / "Applications/X.app");
  const System::Scope scope(host);
  inThreads(10, [] {
    const TemporaryFolder updates;
    writeBundle(updates / "X.app");
    const auto start = ZKUpdateStart::startInstaller("/usr/bin/false", updates.path());
    EXPECT_EQ(start->state(), ZKUpdateStart::State::ended) << start->reason();
    EXPECT_EQ(start->exitStatus(), 1);
    EXPECT_FALSE(ZKUpdateOutcome::outcomeOfUpdate(0, nullptr, updates.path())->wasInstalled());
  });
}

TEST(Threads, MayUseTheInterfaceForC) {
  inThreads(kManyRounds, [] {
    const SemaphoreName name;
    zk_semaphore* semaphore = nullptr;
    ASSERT_EQ(zk_semaphore_create(name.bytes().c_str(), 1, 0600, 1, &semaphore), 0);
    EXPECT_EQ(zk_semaphore_try_wait(semaphore), 0);
    EXPECT_EQ(zk_semaphore_try_wait(semaphore), ZK_BUSY);
    zk_semaphore_close(semaphore);

    std::uint64_t version = 0;
    char text[ZK_VERSION_TEXT_SIZE];
    EXPECT_EQ(zk_version_parse("1.2.3.4", &version), 0);
    zk_version_text(version, text, sizeof text);
    EXPECT_STREQ(text, "1.2.3 (4)");
  });
}

}  // namespace
}  // namespace zk::test
