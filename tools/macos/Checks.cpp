// What tools/check_on_macos asks of the code in platform/darwin and of the system below it. Each check prints one line:
// its number in docs/macos.md, "ok" or "DIFFERS", and what was seen.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "darwin/FoundFunctions.h"
#include "darwin/MissingCalls.h"
#include "darwin/Spawn.h"
#include "files/NSFileManager.h"
#include "objects/NSNumber.h"
#include "process/SignalSet.h"
#include "system/ErrorNumbers.h"
#include "system/Port.h"
#include "system/System.h"

extern "C" char** environ;

namespace {

using namespace zk;

void report(int number, bool isRight, const std::string& seen) {
  std::printf("%2d  %-7s  %s\n", number, isRight ? "ok" : "DIFFERS", seen.c_str());
  std::fflush(stdout);
}

std::string found(const void* function) { return function != nullptr ? " found" : " MISSING"; }

void checkNumbers() {
  const bool areSame = EAGAIN == ZKEAGAIN && EDEADLK == ZKEDEADLK && ENAMETOOLONG == ZKENAMETOOLONG &&
                       ECANCELED == ZKECANCELED && ENOTSUP == 45 && EOPNOTSUPP == 102 && O_CREAT == ZKO_CREAT &&
                       O_EXCL == ZKO_EXCL && SEM_FAILED == ZKSEM_FAILED;
  report(2, areSame, "error numbers, flags");
}

void checkFunctions() {
  const darwin::ProcessManagerFunctions& manager = darwin::processManager();
  const bool areThere = darwin::coreFoundation() != nullptr && darwin::objectiveC() != nullptr &&
                        manager.GetProcessForPID != nullptr && manager.ProcessInformationCopyDictionary != nullptr &&
                        manager.GetProcessInformation != nullptr;
  report(3, areThere,
         "CoreFoundation" + found(darwin::coreFoundation()) + ", Objective-C and AppKit" + found(darwin::objectiveC()) +
             ", GetProcessForPID" + found(reinterpret_cast<const void*>(manager.GetProcessForPID)) +
             ", ProcessInformationCopyDictionary" +
             found(reinterpret_cast<const void*>(manager.ProcessInformationCopyDictionary)) +
             ", GetProcessInformation" + found(reinterpret_cast<const void*>(manager.GetProcessInformation)) +
             ", GetMacOSStatusCommentString" + found(reinterpret_cast<const void*>(darwin::statusCommentFunction())));
}

void checkLaunchMethod() {
  const darwin::ObjectiveCFunctions* objectiveC = darwin::objectiveC();
  const auto encoding =
      reinterpret_cast<const char* (*)(darwin::Object)>(::dlsym(RTLD_DEFAULT, "method_getTypeEncoding"));
  if (objectiveC == nullptr || encoding == nullptr) return report(4, false, "no Objective-C runtime");
  const darwin::Object method = objectiveC->class_getInstanceMethod(
      objectiveC->objc_getClass("NSWorkspace"),
      objectiveC->sel_registerName("launchApplicationAtURL:options:configuration:error:"));
  const std::string types = method != nullptr ? encoding(method) : "the method is gone";
  report(4, types == "@48@0:8@16Q24@32^@40", "launchApplicationAtURL:options:configuration:error: " + types);
}

void checkExistence() {
  System& system = port::operatingSystem();
  ProcessSerialNumber process;
  const bool isSelfThere = system.GetProcessForPID(::getpid(), process) == noErr;
  const bool isOthersThere = system.GetProcessForPID(1, process) == noErr;
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  siginfo_t ended;
  ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  const bool isZombieGone = system.GetProcessForPID(child, process) == procNotFound;
  ::waitpid(child, nullptr, 0);
  const bool isGone = system.GetProcessForPID(child, process) == procNotFound;
  const bool isNobodyGone = system.GetProcessForPID(0, process) == procNotFound;
  report(5, isSelfThere && isOthersThere && isZombieGone && isGone && isNobodyGone,
         "existence of this process, launchd, a zombie, an ended process and process 0");
}

void checkRandomBytes() {
  unsigned char bytes[256] = {};
  const bool isFilled = !port::fillWithRandomBytes(bytes, sizeof bytes);
  report(6, isFilled && !port::programPath().empty() && port::currentThreadId() > 0,
         "random bytes; program " + port::programPath());
}

/// The path that a descriptor leads to, as the log finds it.
void checkPath() {
  int ends[2];
  char path[4096];
  const bool hasPipe = ::pipe(ends) == 0 && ::fcntl(ends[1], F_GETPATH, path) == 0;
  const FileDescriptor anew = port::openStandardErrorAnew();
  struct stat status {};
  ::fstat(STDERR_FILENO, &status);
  const bool isPipe = S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
  const bool isNonBlocking = anew.isOpen() && (::fcntl(anew.get(), F_GETFL) & O_NONBLOCK) != 0;
  const bool isShared = (::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK) != 0;
  report(7, !hasPipe && (isPipe || isNonBlocking) && !isShared,
         std::string("standard error is ") + (isPipe ? "a pipe" : "no pipe") +
             "; opened anew: " + (anew.isOpen() ? "yes" : "no") + "; a pipe has a path: " + (hasPipe ? "yes" : "no"));
}

/// What a write to a pipe without a reader does to a process of two threads, one of which blocks the signal.
void checkPendingSignals() {
  static std::atomic<bool> hasStrayed = false;
  std::signal(SIGPIPE, [](int) { hasStrayed = true; });
  std::atomic<bool> isOver = false;
  std::thread other([&isOver] {
    while (!isOver) ::usleep(1000);
  });
  const sigset_t signals = signalSet({SIGPIPE});
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  int ends[2] = {-1, -1};
  const bool hasPipe = ::pipe(ends) == 0;
  const pollfd empty{ends[1], POLLOUT, 0};
  pollfd room = empty;
  const bool isRoomTold = ::poll(&room, 1, 0) == 1 && room.revents == POLLOUT;
  ::close(ends[0]);
  room = empty;
  const bool isEndTold = ::poll(&room, 1, 0) == 1 && (room.revents & POLLHUP) != 0;
  report(8, hasPipe && isRoomTold && isEndTold, "poll() tells of room in a pipe, and that its reader has gone");

  const bool hasFailed = ::write(ends[1], "x", 1) < 0 && errno == EPIPE;
  sigset_t pending;
  sigpending(&pending);
  const bool wasPending = sigismember(&pending, SIGPIPE) == 1;
  ::alarm(10);
  darwin::discardPending(signals);
  ::alarm(0);
  sigpending(&pending);
  const bool isPending = sigismember(&pending, SIGPIPE) == 1;
  isOver = true;
  other.join();
  report(8, hasFailed && wasPending && !isPending && !hasStrayed,
         std::string("the signal of a failed write goes to ") + (hasStrayed ? "another thread" : "the writing thread") +
             ", and can be taken back there");
}

void checkLog() {
  timespec before;
  timespec after;
  ::clock_gettime(CLOCK_MONOTONIC, &before);
  const std::string message = "zkupdater-check-" + std::to_string(::getpid());
  for (int line = 0; line < 1000; ++line) port::writeToSystemLog("Checks", message);
  ::clock_gettime(CLOCK_MONOTONIC, &after);
  const double seconds =
      static_cast<double>(after.tv_sec - before.tv_sec) + static_cast<double>(after.tv_nsec - before.tv_nsec) * 1e-9;
  report(9, seconds < 5, "1000 lines to the log took " + std::to_string(seconds) + " s: " + message);
}

void checkSemaphores() {
  std::string name = "zk-check-" + std::to_string(::getpid());
  sem_t* const semaphore = ::sem_open(name.c_str(), O_CREAT, 0600, 0);
  const bool isMade = semaphore != SEM_FAILED;
  const bool timesOut = isMade && darwin::waitBriefly(semaphore, 20'000'000) == -1 && errno == ETIMEDOUT;
  const bool isTaken = isMade && ::sem_post(semaphore) == 0 && darwin::waitBriefly(semaphore, 0) == 0;
  ::sem_unlink(name.c_str());
  std::size_t longest = 0;
  for (; name.size() < 64 && ::sem_open(name.c_str(), O_CREAT, 0600, 0) != SEM_FAILED; name += 'x') {
    ::sem_unlink(name.c_str());
    longest = name.size();
  }
  report(10, timesOut && isTaken && longest >= 30 && errno == ENAMETOOLONG,
         "waiting for a semaphore; the longest name has " + std::to_string(longest) + " bytes");
}

void checkSpawn() {
  const int kept = ::open("/dev/null", O_RDONLY);  // without FD_CLOEXEC
  const std::string script = "[ \"$PWD\" = / ] && [ \"$(ps -o pgid= -p $$ | tr -d ' ')\" = $$ ] && ! [ -e /dev/fd/" +
                             std::to_string(kept) + " ]";
  report(11, darwin::runToSuccess("/bin/sh", {"-c", script}, environ) && !darwin::runToSuccess("/missing", {}, environ),
         "a started program's folder, group and descriptors");
}

void checkUnlink() {
  char folder[] = "/tmp/zkupdater-check.XXXXXX";
  if (::mkdtemp(folder) == nullptr) return report(22, false, "no folder");
  const bool isRefused = ::unlink(folder) != 0;
  const int error = errno;
  ::rmdir(folder);
  report(22, isRefused,
         std::string("unlink() of a folder, as ") + (::geteuid() == 0 ? "root" : "a user") + ": error " +
             std::to_string(isRefused ? error : 0));
}

void checkTexts() {
  std::string languages;
  for (const std::string& language : port::userLanguages()) languages += " " + language;
  report(12, !languages.empty(), "languages:" + languages);
  const bool isDecomposed = port::fileSystemRepresentation("caf\xC3\xA9") == "cafe\xCC\x81";
  const char* comment = port::statusComment(-43);
  report(13, isDecomposed, std::string("file names are decomposed; status -43: ") + (comment ? comment : "(none)"));
}

/// The record of a process, as the installer and an application write it.
void printInformation(int pid) {
  System& system = port::operatingSystem();
  ProcessSerialNumber process;
  if (system.GetProcessForPID(pid, process) != noErr) return report(14, false, "no such process");
  const Ref<NSDictionary> information =
      system.ProcessInformationCopyDictionary(process, kProcessDictionaryIncludeAllInformationMask);
  ProcessInfoRec record;
  const OSStatusCode status = system.GetProcessInformation(process, record);
  std::string seen = "process manager:";
  bool isComplete = status == noErr;
  for (const Ref<NSString>& key :
       {Ref<NSString>(ZKBundlePathKey), Ref<NSString>(kCFBundleIdentifierKey), Ref<NSString>(kCFBundleExecutableKey)}) {
    const Ref<NSString> text = information ? asString(information->objectForKey(key)) : nullptr;
    isComplete = isComplete && text;
    seen += " " + key->bytes() + "=" + (text ? text->bytes() : "(none)");
  }
  report(14, isComplete, seen + " stamp=" + std::to_string(record.processLaunchDate));
}

/// Removes what is in the way of each item, as the installer does.
class Delegate final : public NSFileManagerDelegate {
 public:
  bool fileManager(NSFileManager& fileManager, const Ref<NSURL>& /*shouldCopyItemAtURL*/,
                   const Ref<NSURL>& toURL) override {
    fileManager.removeItemAtURL(toURL);
    return true;
  }
  bool fileManager(NSFileManager& /*fileManager*/, const Ref<NSError>& /*shouldProceedAfterError*/,
                   const Ref<NSURL>& /*copyingItemAtURL*/, const Ref<NSURL>& /*toURL*/) override {
    return false;
  }
};

int statusOf(bool succeeded, const Ref<NSError>& error) {
  if (!succeeded) std::fprintf(stderr, "error %ld\n", error ? static_cast<long>(error->code()) : 0L);
  return succeeded ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 1 ? arguments[1] : "";
  Ref<NSError> error;
  NSFileManager files;
  if (command == "copy" && count == 4) {
    Delegate delegate;
    files.setDelegate(&delegate);
    const bool succeeded =
        files.copyItemAtURL(std::make_shared<NSURL>(arguments[2]), std::make_shared<NSURL>(arguments[3]), &error);
    return statusOf(succeeded, error);
  }
  if (command == "remove" && count == 3) {
    const bool succeeded = files.removeItemAtURL(std::make_shared<NSURL>(arguments[2]), &error);
    return statusOf(succeeded, error);
  }
  if (command == "process" && count == 3) {
    printInformation(std::atoi(arguments[2]));
    return 0;
  }
  if (command != "all") return 2;
  checkNumbers();
  checkFunctions();
  checkLaunchMethod();
  checkExistence();
  checkRandomBytes();
  checkPath();
  checkPendingSignals();
  checkLog();
  checkSemaphores();
  checkSpawn();
  checkTexts();
  checkUnlink();
  return 0;
}
