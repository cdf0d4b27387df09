#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "system/Port.h"

namespace zk {

namespace {

constexpr char kSocketPath[] = "/dev/log";
/// Facility "user", severity "notice", as the protocol writes them.
constexpr char kPriority[] = "<13>";

std::string timeStamp() {
  const time_t now = ::time(nullptr);
  tm parts;
  char text[32];
  ::localtime_r(&now, &parts);
  return std::string(text, ::strftime(text, sizeof text, "%b %e %H:%M:%S", &parts));
}

}  // namespace

FileDescriptor port::openStandardErrorAnew() {
  return FileDescriptor(::open("/dev/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

void port::writeToSystemLog(const std::string& program, const std::string& message) {
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen()) return;
  const std::string datagram =
      kPriority + timeStamp() + " " + program + "[" + std::to_string(::getpid()) + "]: " + message;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, kSocketPath, sizeof kSocketPath);
  ::sendto(socket.get(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace zk
