#pragma once

#include <chrono>
#include <string>

#include "ZKPOSIXSemaphore.h"

namespace zk {

class NSTask;

/// How an update is to be started.
struct ZKUpdateOptions {
  bool mayBeOlder = false;                      ///< take an update that is not newer, too
  std::chrono::milliseconds timeLimit{10'000};  ///< how long the installer may take until it is ready; a day at most
};

/// One attempt of the running application to have itself updated: looks at the update, starts the installer, and tells
/// when the application may quit. The application is the bundle that the calling process runs from.
///
/// startInstaller() waits. An application with an event loop calls beginInstaller() and then poll() from a timer.
///
/// Every attempt makes an installer semaphore of a new name that nobody can guess, open to the calling user alone, and
/// removes the name as soon as the outcome is known. The update semaphore's name comes from the path of the
/// application's bundle, so all installers of one application share it. Used from one thread at a time. Nothing is
/// thrown but std::bad_alloc.
///
/// The installer is a child process of the application. It has a session of its own and inherits no open files. If the
/// application is killed, the installer goes on: it installs the update and starts the new version. If it had not found
/// the application yet, it ends without a change.
class ZKUpdateStart final : public NSObject {
 public:
  /// What an attempt has come to. Only `waiting` changes.
  enum class State {
    waiting = 0,  ///< the installer has been started and is not ready yet
    ready = 1,    ///< quit now, within about 100 seconds: the installer waits for the end of this process

    // Refused: the update could never work, and no installer was started.
    noApplication = 2,      ///< this process runs from no bundle with an identifier
    folderInTheWay = 3,     ///< the update folder is, holds or lies in the application's bundle
    noUpdate = 4,           ///< the update folder holds no bundle with the application's identifier
    noProgram = 5,          ///< the new bundle has no executable, or one without its executable bit
    notNewer = 6,           ///< the update has the application's version or an older one
    folderNotWritable = 7,  ///< nothing can be written to the update folder
    placeNotWritable = 8,   ///< nothing can be written to the folder that the application lies in, so no backup

    // Failed: the application goes on as it is; no installer runs any more.
    notStarted = 9,  ///< the installer could not be executed, or its semaphore not be made
    ended = 10,      ///< the installer ended: see exitStatus() and logLine()
    late = 11,       ///< the installer was not ready in time, and was ended
  };

  /// Starts the installer and waits, at most the time limit, for what becomes of it. The state is not `waiting`.
  /// @param installer path of the executable zkupdater, or of a program that becomes it or waits for it
  /// @param updateFolder path of the folder that holds the new bundle
  /// @param options how long to wait, and whether to take an update that is not newer
  /// @return never absent
  static Ref<ZKUpdateStart> startInstaller(const std::string& installer, const std::string& updateFolder,
                                           const ZKUpdateOptions& options = {});

  /// The same without waiting: the state is `waiting`, or already one of refusal or failure. Never absent.
  static Ref<ZKUpdateStart> beginInstaller(const std::string& installer, const std::string& updateFolder,
                                           const ZKUpdateOptions& options = {});

  /// Ends an installer that is still being waited for.
  ~ZKUpdateStart() override;

  /// Looks once whether the installer is ready or has failed. Does not block. Every 50 to 500 milliseconds is often
  /// enough.
  State poll();

  /// Waits, at most the time limit, until the state is another than `waiting`.
  State wait();

  /// What the latest look has shown.
  State state() const { return state_; }
  /// Whether the application is to quit now.
  bool isReady() const { return state_ == State::ready; }
  /// Whether the update was refused before an installer was started.
  bool isRefused() const { return state_ >= State::noApplication && state_ <= State::placeNotWritable; }
  /// The state as an English sentence. Static text.
  const char* reason() const { return reasonFor(state_); }
  /// A state as an English sentence. Static text; the empty text for a number that is no state.
  static const char* reasonFor(State state);

  /// The exit status of an installer that has `ended`: 128 and the signal's number if a signal ended it. Else -1, and
  /// also when another part of the process has collected it, for instance with waitpid().
  int exitStatus() const { return exitStatus_; }
  /// Of an installer that has `ended` or was `late`: the first line in which it told of an error, else the last that it
  /// wrote; empty if it wrote none.
  const std::string& logLine() const { return logLine_; }

 private:
  ZKUpdateStart() = default;

  State begin(const std::string& installer, const std::string& updateFolder, bool mayBeOlder);
  State lookAtInstaller();
  void finish(State state);

  State state_ = State::waiting;
  std::chrono::steady_clock::time_point deadline_;
  Ref<NSURL> updateFolder_;
  Ref<ZKPOSIXSemaphore> semaphore_;
  Ref<NSTask> installer_;
  int exitStatus_ = -1;
  std::string logLine_;
};

}  // namespace zk
