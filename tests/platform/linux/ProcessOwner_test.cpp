#include "linux/ProcessOwner.h"

#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/keyctl.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>

#include "LaunchReport.h"
#include "TestProcesses.h"
#include "linux/Launch.h"
#include "linux/ProcessFacts.h"
#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnMounts.h"
#include "support/linux/RefuseSystemCall.h"
#include "system/System.h"

namespace zk::test {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAreArray;

constexpr uid_t kSomebody = 1234;

const ProcessOwner kOwner{kSomebody, 4321, {7, 65534, 100000}};
const std::vector<std::string> kEnvironment{"DISPLAY=:7", "WAYLAND_DISPLAY=w", "EMPTY=", "ODD=a=b\nc"};

#define ZK_NEEDS_ROOT() \
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can start something as another user."

// What is read of a process

std::string statusWith(const std::string& users, const std::string& groups, const std::string& further) {
  return "Name:\tUid:\t0\t0\t0\t0\nUmask:\t0022\nUid:\t" + users + "\nGid:\t" + groups + "\nFDSize:\t64\nGroups:\t" +
         further + "\nNStgid:\t1\n";
}

TEST(OwnerInAStatus, IsOneUserAndOneGroupAndFurtherGroups) {
  const auto owner = ownerIn(statusWith("1234\t1234\t1234\t1234", "4321\t4321\t4321\t4321", "7 65534 100000 "));
  EXPECT_EQ(owner, kOwner);
}

TEST(OwnerInAStatus, MayHaveNoFurtherGroups) {
  const auto owner = ownerIn(statusWith("1\t1\t1\t1", "2\t2\t2\t2", " "));
  EXPECT_EQ(owner, (ProcessOwner{1, 2, {}}));
}

TEST(OwnerInAStatus, IsMissingIfTheIdsAreNotAllTheSame) {
  const std::string same = "5\t5\t5\t5";
  for (const char* mixed : {"0\t5\t5\t5", "5\t0\t5\t5", "5\t5\t0\t5", "5\t5\t5\t0"}) {
    EXPECT_FALSE(ownerIn(statusWith(mixed, same, ""))) << mixed;
    EXPECT_FALSE(ownerIn(statusWith(same, mixed, ""))) << mixed;
  }
}

TEST(OwnerInAStatus, IsMissingIfSomethingIsMissingOrNotANumber) {
  const std::string same = "5\t5\t5\t5";
  EXPECT_FALSE(ownerIn(""));
  EXPECT_FALSE(ownerIn("Name:\tcat\nUid:\t5\t5\t5\t5\nGid:\t5\t5\t5\t5\n"));
  EXPECT_FALSE(ownerIn(statusWith("5\t5\t5", same, "")));
  EXPECT_FALSE(ownerIn(statusWith("", same, "")));
  EXPECT_FALSE(ownerIn(statusWith("-5\t-5\t-5\t-5", same, "")));
  EXPECT_FALSE(ownerIn(statusWith(same, same, "7 x")));
  EXPECT_FALSE(ownerIn(statusWith(same, same, "4294967296")));
}

TEST(OwnerOfAProcess, IsThisUserForThisProcess) {
  const auto owner = ownerOf(::getpid());
  ASSERT_TRUE(owner);
  EXPECT_EQ(owner->user, ::getuid());
  EXPECT_EQ(owner->group, ::getgid());
  EXPECT_TRUE(isUserOfThisProcess(*owner));
}

TEST(OwnerOfAProcess, IsUnknownIfThereIsNoProcess) { EXPECT_FALSE(ownerOf(idOfEndedProcess())); }

/// Becomes a program, with an environment of its own, after `prepare`.
std::unique_ptr<ChildProcess> start(
    const fs::path& program, const std::vector<std::string>& environment,
    const std::function<void()>& prepare = [] {}) {
  return std::make_unique<ChildProcess>([&](const ChildProcess::TellReady&) {
    std::vector<char*> variables;
    variables.reserve(environment.size() + 1);
    for (const std::string& text : environment) variables.push_back(const_cast<char*>(text.c_str()));
    variables.push_back(nullptr);
    char forEver[] = "infinity";
    char* const arguments[] = {const_cast<char*>(program.c_str()), forEver, nullptr};
    prepare();
    ::execve(program.c_str(), arguments, variables.data());
    ::_exit(127);
  });
}

TEST(ShownEnvironment, IsTheOneThatTheProcessWasStartedWith) {
  const auto process = start("/bin/sleep", kEnvironment);
  EXPECT_EQ(shownEnvironmentOf(process->pid()), kEnvironment);
}

TEST(ShownEnvironment, IsKnownEvenIfTheFirstThreadHasEnded) {
  const auto process = makeProcessWithoutFirstThread();
  EXPECT_TRUE(shownEnvironmentOf(process->pid()));
  EXPECT_EQ(shownEnvironmentOf(process->pid()), shownEnvironmentOf(::getpid()));
}

TEST(ShownEnvironment, LeavesOutEntriesThatAreNotVariables) {
  const auto process = start("/bin/sleep", {"a title", "", "A=1"});
  EXPECT_THAT(shownEnvironmentOf(process->pid()).value(), ElementsAre("A=1"));
}

TEST(ShownEnvironment, IsMissingIfNoVariableIsLeft) {
  EXPECT_FALSE(shownEnvironmentOf(start("/bin/sleep", {})->pid()));
  EXPECT_FALSE(shownEnvironmentOf(start("/bin/sleep", {"a title"})->pid()));
  EXPECT_FALSE(shownEnvironmentOf(idOfEndedProcess()));
}

TEST(LaunchUser, IsMissingIfTheProcessNowBelongsToAnotherUser) {
  const ProcessOwner other{::geteuid() + 1, ::getegid(), {}};
  EXPECT_FALSE(launchUserOf(::getpid(), other));
  EXPECT_FALSE(launchUserOf(::getpid(), std::nullopt));
}

TEST(LaunchUser, NeedsNoEnvironmentOfAProcessOfTheSameUser) {
  const auto process = start("/bin/sleep", {});
  const auto user = launchUserOf(process->pid(), ownerOf(process->pid()));
  ASSERT_TRUE(user);
  EXPECT_THAT(user->environment, ElementsAre());
}

// What is started as another user

void becomeOwner() {
  if (::setgroups(kOwner.groups.size(), kOwner.groups.data()) != 0) ::_exit(126);
  if (::setresgid(kOwner.group, kOwner.group, kOwner.group) != 0) ::_exit(126);
  if (::setresuid(kOwner.user, kOwner.user, kOwner.user) != 0) ::_exit(126);
}

std::string fourTimes(unsigned int id) {
  const std::string text = std::to_string(id);
  return text + "\t" + text + "\t" + text + "\t" + text;
}

void expectToBeOwners(const Report& report) {
  EXPECT_EQ(only(report, "Uid"), fourTimes(kOwner.user));
  EXPECT_EQ(only(report, "Gid"), fourTimes(kOwner.group));
  EXPECT_EQ(only(report, "Groups"), "7 65534 100000 ");
  EXPECT_THAT(report.at("environment"),
              UnorderedElementsAreArray({"DISPLAY=:7", "WAYLAND_DISPLAY=w", "EMPTY=", "ODD=a=b"}));
  EXPECT_TRUE(report.contains("c")) << "the variable's second line";
}

/// A folder that everybody may write to, with the reporting program in it.
class OpenFolder {
 public:
  OpenFolder() {
    copyProgram(kReportingProgram, program());
    fs::permissions(folder_.path(), fs::perms::all);
  }
  fs::path program() const { return folder_ / "program"; }
  fs::path path(std::string_view name) const { return folder_ / name; }
  Report report() const {
    ::waitpid(-1, nullptr, 0);
    return readReport(path("report"));
  }

 private:
  TemporaryFolder folder_;
};

TEST(LaunchAsAnotherUser, GivesTheProgramTheUsersIdsAndEnvironmentAndNoPrivileges) {
  ZK_NEEDS_ROOT();
  const OpenFolder folder;
  ASSERT_TRUE(launchDetachedAs({kOwner, kEnvironment}, folder.program(), {folder.path("report")}));
  const Report report = folder.report();
  expectToBeOwners(report);
  EXPECT_EQ(only(report, "CapPrm"), "0000000000000000");
  EXPECT_EQ(only(report, "NoNewPrivs"), "0") << "it may run set-id programs";
}

TEST(LaunchAsAnotherUser, GivesTheProgramASessionAndStreamsLikeAnyLaunch) {
  ZK_NEEDS_ROOT();
  const OpenFolder folder;
  ASSERT_TRUE(launchDetachedAs({kOwner, kEnvironment}, folder.program(), {folder.path("report"), "-key"}));
  const Report report = folder.report();
  EXPECT_EQ(only(report, "session"), only(report, "pid"));
  EXPECT_EQ(only(report, "folder"), "/");
  EXPECT_THAT(report.at("descriptor"), ElementsAre("0 /dev/null", "1 /dev/null", "2 /dev/null"));
  EXPECT_THAT(report.at("argument"), ElementsAre(folder.program(), folder.path("report"), "-key"));
  EXPECT_EQ(only(report, "SigIgn"), "0000000000000000");
}

TEST(LaunchAsAnotherUser, WorksForNobodyWithoutFurtherGroups) {
  ZK_NEEDS_ROOT();
  const OpenFolder folder;
  ASSERT_TRUE(launchDetachedAs({{kNobody, kNobody, {}}, {"A=1"}}, folder.program(), {folder.path("report")}));
  const Report report = folder.report();
  EXPECT_EQ(only(report, "Uid"), fourTimes(kNobody));
  EXPECT_EQ(only(report, "Groups"), " ");
}

TEST(LaunchAsAnotherUser, LeavesTheKeysOfThisSessionBehind) {
  ZK_NEEDS_ROOT();
  const OpenFolder folder;
  const int status = statusInChild([&folder] {
    const long own = ::syscall(SYS_keyctl, KEYCTL_JOIN_SESSION_KEYRING, nullptr);
    if (own < 0) ::_exit(kNotPermitted);
    ASSERT_TRUE(launchDetachedAs({kOwner, kEnvironment}, folder.program(), {folder.path("report")}));
    EXPECT_NE(only(folder.report(), "keyring"), std::to_string(own));
  });
  if (status == kNotPermitted) GTEST_SKIP() << "There are no keys here.";
  EXPECT_EQ(status, 0);
}

TEST(LaunchAsAnotherUser, DoesNotNeedAKernelWithKeys) {
  ZK_NEEDS_ROOT();
  for (const int error : {ENOSYS, EPERM}) {
    EXPECT_EQ(statusInChild([error] {
                ASSERT_TRUE(refuseSystemCall(SYS_keyctl, error));
                EXPECT_TRUE(launchDetachedAs({kOwner, kEnvironment}, "/bin/true", {}));
              }),
              0);
  }
}

TEST(LaunchAsAnotherUser, ExecutesWithThatUsersRights) {
  ZK_NEEDS_ROOT();
  const OpenFolder folder;
  fs::permissions(folder.program(), fs::perms::owner_all);
  EXPECT_TRUE(launchDetached(folder.program(), {folder.path("report")}));
  folder.report();
  EXPECT_FALSE(launchDetachedAs({kOwner, kEnvironment}, folder.program(), {folder.path("report")}));
}

TEST(LaunchAsAnotherUser, StartsNothingIfAnyStepIsRefused) {
  ZK_NEEDS_ROOT();
  for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid, SYS_keyctl}) {
    EXPECT_EQ(statusInChild([call] {
                ASSERT_TRUE(refuseSystemCall(call, EAGAIN));
                EXPECT_FALSE(launchDetachedAs({kOwner, kEnvironment}, "/bin/true", {}));
              }),
              0)
        << call;
  }
}

TEST(LaunchAsAnotherUser, StartsNothingThatCouldBecomeRootAgain) {
  ZK_NEEDS_ROOT();
  EXPECT_FALSE(launchDetachedAs({{0, 0, {}}, kEnvironment}, "/bin/true", {}));
  EXPECT_EQ(statusInChild([] {
              // Keeps its privileges when it becomes another user.
              ASSERT_EQ(::prctl(PR_SET_SECUREBITS, SECBIT_NO_SETUID_FIXUP), 0);
              EXPECT_FALSE(launchDetachedAs({kOwner, kEnvironment}, "/bin/true", {}));
            }),
            0);
}

TEST(LaunchAsAnotherUser, IsRefusedToOtherUsers) {
  EXPECT_EQ(statusInChild([] {
              if (::geteuid() == 0) {
                ASSERT_EQ(::setresuid(kNobody, kNobody, kNobody), 0);
              }
              EXPECT_FALSE(launchDetachedAs({kOwner, kEnvironment}, "/bin/true", {}));
            }),
            0);
}

// What the system does

/// A bundle that everybody may use; its program is the reporting one, beside it lies one that stays.
class OpenBundle {
 public:
  OpenBundle() {
    writeFile(path() / "Info.plist", "{ CFBundleIdentifier = x; CFBundleExecutable = program; }");
    copyProgram(kReportingProgram, path() / "program");
    copyProgram("/bin/sleep", path() / "stay");
    fs::permissions(folder_.path(), fs::perms::all);
  }
  fs::path path() const { return folder_ / "X.app"; }
  fs::path report() const { return folder_ / "report"; }

  /// Looks up a process of the bundle, which has ended when this returns.
  void lookUp(const std::vector<std::string>& environment, const std::function<void()>& prepare) const {
    const auto process = start(path() / "stay", environment, prepare);
    const Ref<NSDictionary> information = System::current().ProcessInformationCopyDictionary({process->pid()}, 0);
    ASSERT_TRUE(information);
    EXPECT_EQ(asString(information->objectForKey(ZKBundlePathKey))->bytes(), path());
  }
  bool launch() const {
    const Ref<NSURL> url = NSURL::fileURLWithPath(NSString::stringWithBytes(path().string()));
    return System::current().launch(url, path() / "program", {report()}, 0);
  }
  Report launched() const {
    EXPECT_TRUE(launch());
    ::waitpid(-1, nullptr, 0);
    return readReport(report());
  }

 private:
  TemporaryFolder folder_;
};

void stayTheSameUser() {}

TEST(LaunchOfABundle, StartsItAsTheUserOfTheProcessThatWasLookedUp) {
  ZK_NEEDS_ROOT();
  const OpenBundle bundle;
  bundle.lookUp(kEnvironment, becomeOwner);
  expectToBeOwners(bundle.launched());
}

TEST(LaunchOfABundle, StartsItAsTheUserOfTheFirstProcessOfSeveral) {
  ZK_NEEDS_ROOT();
  const OpenBundle bundle;
  bundle.lookUp(kEnvironment, becomeOwner);
  bundle.lookUp({"A=1"}, stayTheSameUser);
  bundle.lookUp({"A=1"}, [] { ASSERT_EQ(::setresuid(kNobody, kNobody, kNobody), 0); });
  expectToBeOwners(bundle.launched());
}

TEST(LaunchOfABundle, IgnoresProcessesOfOtherBundles) {
  ZK_NEEDS_ROOT();
  const OpenBundle other;
  other.lookUp(kEnvironment, becomeOwner);
  const OpenBundle bundle;
  EXPECT_EQ(only(bundle.launched(), "Uid"), fourTimes(0));
}

TEST(LaunchOfABundle, KeepsUserAndEnvironmentIfTheProcessHadTheSameUser) {
  const OpenBundle bundle;
  bundle.lookUp({"A=1"}, stayTheSameUser);
  EXPECT_EQ(statusInChild([&bundle] {
              ::clearenv();
              ::setenv("OWN", "1", 1);
              const Report report = bundle.launched();
              EXPECT_EQ(only(report, "Uid"), fourTimes(::geteuid()));
              EXPECT_THAT(report.at("environment"), ElementsAre("OWN=1"));
            }),
            0);
}

TEST(LaunchOfABundle, KeepsTheUserIfNoProcessWasLookedUp) {
  const OpenBundle bundle;
  EXPECT_EQ(only(bundle.launched(), "Uid"), fourTimes(::geteuid()));
}

TEST(LaunchOfABundle, IsRefusedIfTheProcessHadSeveralUsers) {
  ZK_NEEDS_ROOT();
  const std::function<void()> mixtures[] = {
      [] { ASSERT_EQ(::setresuid(kSomebody, 0, 0), 0); },
      [] { ASSERT_EQ(::setresuid(0, kSomebody, kSomebody), 0); },
      [] { ASSERT_EQ(::setresgid(0, kSomebody, kSomebody), 0); },
  };
  for (const auto& mix : mixtures) {
    const OpenBundle bundle;
    bundle.lookUp(kEnvironment, mix);
    EXPECT_FALSE(bundle.launch());
    bundle.lookUp(kEnvironment, becomeOwner);
    EXPECT_FALSE(bundle.launch()) << "the first process counts";
    EXPECT_FALSE(fs::exists(bundle.report()));
  }
}

TEST(LaunchOfABundle, IsRefusedIfTheOtherUsersEnvironmentCannotBeRead) {
  ZK_NEEDS_ROOT();
  const OpenBundle bundle;
  bundle.lookUp({}, becomeOwner);
  EXPECT_FALSE(bundle.launch());
  EXPECT_FALSE(fs::exists(bundle.report()));
}

}  // namespace

}  // namespace zk::test
