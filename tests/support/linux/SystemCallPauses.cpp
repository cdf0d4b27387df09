#include "support/linux/SystemCallPauses.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <thread>

#include "support/linux/SystemCallFilter.h"
#include "system/FileDescriptor.h"

namespace zk::test {

namespace {

/// Lets the calling thread pause before each call of this number. @return where the pauses are told, or -1
int tellPauses(long number) {
  auto filter = filterOfSystemCall(number, SECCOMP_RET_USER_NOTIF);
  const sock_fprog program{filter.size(), filter.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
  constexpr unsigned kFlags = SECCOMP_FILTER_FLAG_NEW_LISTENER;
  return static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, kFlags, &program));
}

/// Waits for the next pause. @return false when there will be none, since the thread has ended
bool nextPause(int pauses, seccomp_notif& pause) {
  pollfd waiting{pauses, POLLIN, 0};
  while (::poll(&waiting, 1, -1) < 0) continue;
  pause = {};
  return (waiting.revents & POLLIN) != 0 && ::ioctl(pauses, SECCOMP_IOCTL_NOTIF_RECV, &pause) == 0;
}

void goOn(int pauses, const seccomp_notif& pause) {
  seccomp_notif_resp answer{};
  answer.id = pause.id;
  answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
  ::ioctl(pauses, SECCOMP_IOCTL_NOTIF_SEND, &answer);
}

}  // namespace

bool runWithPauses(long number, const std::function<void(const std::string& name)>& before,
                   const std::function<void()>& body) {
  std::promise<int> promise;
  std::jthread thread([&] {
    const int pauses = tellPauses(number);
    promise.set_value(pauses);
    if (pauses >= 0) body();
  });
  const FileDescriptor pauses(promise.get_future().get());
  if (!pauses.isOpen()) return false;

  for (seccomp_notif pause; nextPause(pauses.get(), pause); goOn(pauses.get(), pause)) {
    // The thread is one of this process: its pointers lead to the same memory.
    const char* name = nullptr;
    std::memcpy(&name, &pause.data.args[1], sizeof name);
    before(name);
  }
  return true;
}

}  // namespace zk::test
