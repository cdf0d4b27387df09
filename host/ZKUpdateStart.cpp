#include "ZKUpdateStart.h"

#include <algorithm>

#include "Application.h"
#include "UpdateCheck.h"
#include "UpdateNote.h"
#include "files/NSFileManager.h"
#include "files/RandomName.h"
#include "objects/OutOfMemory.h"
#include "process/NSTask.h"
#include "process/NSThread.h"
#include "system/ErrorNumbers.h"
#include "system/System.h"

namespace zk {

namespace {

constexpr double kPause = 0.05;  ///< seconds between two looks at the installer
constexpr int kMostNames = 10;   ///< a name of 64 random bits is hardly taken even once
constexpr std::chrono::milliseconds kLongestLimit = std::chrono::days(1);

/// A new semaphore that this user alone can open: nobody else can take it to make the installer look ready.
Ref<ZKPOSIXSemaphore> makeInstallerSemaphore() {
  for (int attempt = 0; attempt < kMostNames; ++attempt) {
    std::string digits;
    if (makeRandomDigits(digits)) return nullptr;
    const Ref<NSString> name = NSString::stringWithBytes("zk-start-" + digits);
    Ref<NSError> error;
    if (const auto semaphore = ZKPOSIXSemaphore::initWithCreate(name, true, 0600, 1, &error)) return semaphore;
    if (!error || error->code() != ZKEEXIST) return nullptr;
  }
  return nullptr;
}

/// The first line of a log that tells of an error, else its last; empty when there is none.
std::string tellingLine(const std::string& log) {
  std::string last;
  for (std::size_t start = 0; start < log.size();) {
    const std::size_t end = std::min(log.find('\n', start), log.size());
    const std::string line = log.substr(start, end - start);
    if (line.find("] Error: ") != std::string::npos) return line;
    if (!line.empty()) last = line;
    start = end + 1;
  }
  return last;
}

/// Whether a backup can be made where the installer makes it, beside the bundle.
bool canBeBackedUp(const NSBundle& application) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSURL> folder =
      files->URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask, application.bundleURL(), true);
  return folder && files->removeItemAtURL(folder);
}

}  // namespace

Ref<ZKUpdateStart> ZKUpdateStart::startInstaller(const std::string& installer, const std::string& updateFolder,
                                                 const ZKUpdateOptions& options) {
  const Ref<ZKUpdateStart> start = beginInstaller(installer, updateFolder, options);
  start->wait();
  return start;
}

Ref<ZKUpdateStart> ZKUpdateStart::beginInstaller(const std::string& installer, const std::string& updateFolder,
                                                 const ZKUpdateOptions& options) {
  const Ref<ZKUpdateStart> start(new ZKUpdateStart);
  start->deadline_ = std::chrono::steady_clock::now() +
                     std::clamp(options.timeLimit, std::chrono::milliseconds::zero(), kLongestLimit);
  const State state = start->begin(installer, updateFolder, options.mayBeOlder);
  if (state != State::waiting) start->finish(state);
  return start;
}

ZKUpdateStart::~ZKUpdateStart() {
  if (state_ == State::waiting) unlessOutOfMemory([this] { finish(State::late); });
}

ZKUpdateStart::State ZKUpdateStart::begin(const std::string& installer, const std::string& updateFolder,
                                          bool mayBeOlder) {
  const Ref<NSBundle> application = applicationBundle();
  if (!application) return State::noApplication;
  // The installer runs in another folder: it needs whole paths.
  const Ref<NSURL> installerURL = NSURL::fileURLWithPath(NSString::stringWithBytes(installer));
  const Ref<NSURL> folder = NSURL::fileURLWithPath(NSString::stringWithBytes(updateFolder));
  if (!folder) return State::noUpdate;
  if (!installerURL) return State::notStarted;

  const State checked = checkedUpdate(*application, folder, mayBeOlder);
  if (checked != State::waiting) return checked;
  if (!canBeBackedUp(*application)) return State::placeNotWritable;
  if (!writeNote(noteOf(*application), folder)) return State::folderNotWritable;
  updateFolder_ = folder;

  semaphore_ = makeInstallerSemaphore();
  if (!semaphore_) return State::notStarted;
  installer_ = NSTask::launchedTaskWithLaunchPath(
      installerURL->path(), {"-pid", std::to_string(System::current().getpid()), "-updatePath", folder->path()->bytes(),
                             "-installerSemaphore", semaphore_->name()->bytes(), "-updateSemaphore",
                             updateSemaphoreNameFor(application->bundleURL()), "-enableLog", "YES"});
  return installer_ ? State::waiting : State::notStarted;
}

ZKUpdateStart::State ZKUpdateStart::poll() {
  if (state_ != State::waiting) return state_;
  const State state = lookAtInstaller();
  if (state != State::waiting) finish(state);
  return state_;
}

ZKUpdateStart::State ZKUpdateStart::wait() {
  while (poll() == State::waiting) NSThread::sleepForTimeInterval(kPause);
  return state_;
}

ZKUpdateStart::State ZKUpdateStart::lookAtInstaller() {
  if (!installer_->isRunning()) return State::ended;
  Ref<NSError> error;
  if (!semaphore_->tryWait(&error)) return ZKPOSIXSemaphore::isBusyError(error) ? State::ready : State::late;
  // While we hold it ourselves the installer cannot become ready: one that is late is ended before it is given back.
  if (std::chrono::steady_clock::now() >= deadline_) return State::late;
  semaphore_->post();
  return State::waiting;
}

void ZKUpdateStart::finish(State state) {
  state_ = state;
  const bool isReady = state == State::ready;
  if (installer_ && !isReady) installer_->kill();
  if (semaphore_) semaphore_->unlink();
  semaphore_ = nullptr;
  if (isReady) return;

  if (updateFolder_) removeNote(updateFolder_);
  if (!installer_) return;
  if (state == State::ended) exitStatus_ = installer_->terminationStatus();
  logLine_ = tellingLine(installer_->availableErrorOutput());
}

const char* ZKUpdateStart::reasonFor(State state) {
  switch (state) {
    case State::waiting:
      return "The installer is not ready yet.";
    case State::ready:
      return "The installer is ready.";
    case State::noApplication:
      return "The application runs from no bundle with an identifier.";
    case State::folderInTheWay:
      return "The update folder is, holds or lies in the application's bundle.";
    case State::noUpdate:
      return "The update folder holds no bundle with the application's identifier.";
    case State::noProgram:
      return "The new bundle has no executable program.";
    case State::notNewer:
      return "The update is not newer than the application.";
    case State::folderNotWritable:
      return "The update folder cannot be written to.";
    case State::placeNotWritable:
      return "The folder that the application lies in cannot be written to.";
    case State::notStarted:
      return "The installer could not be started.";
    case State::ended:
      return "The installer ended before it was ready.";
    case State::late:
      return "The installer was not ready in time.";
  }
  return "";
}

}  // namespace zk
