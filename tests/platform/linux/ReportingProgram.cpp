// A program for the tests of launching: writes what it was started with to the file that its first argument names, one
// "key=value" a line, and ends.

#include <fcntl.h>
#include <linux/keyctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStatusFields[] = {"SigPnd", "ShdPnd", "SigBlk", "SigIgn", "SigCgt",
                                              "Uid",    "Gid",    "Groups", "CapPrm", "NoNewPrivs"};

/// The open descriptors, except those needed to look for them.
std::vector<int> openDescriptors() {
  std::vector<int> descriptors;
  for (int number = 0; number < 70'000; ++number) {
    if (::fcntl(number, F_GETFD) >= 0) descriptors.push_back(number);
  }
  return descriptors;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2) return 2;
  const std::vector<int> descriptors = openDescriptors();

  const std::string path = arguments[1];
  std::ofstream report(path + ".part");
  report << "pid=" << ::getpid() << "\nparent=" << ::getppid() << "\nsession=" << ::getsid(0)
         << "\ngroup=" << ::getpgrp() << "\nfolder=" << fs::current_path().string() << "\n";
  for (int index = 0; index < argumentCount; ++index) report << "argument=" << arguments[index] << "\n";
  for (char** variable = environ; *variable != nullptr; ++variable) report << "environment=" << *variable << "\n";
  for (const int descriptor : descriptors) {
    std::error_code error;
    report << "descriptor=" << descriptor << " "
           << fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error).string() << "\n";
  }
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    const std::string_view name = std::string_view(line).substr(0, line.find(':'));
    if (std::ranges::count(kStatusFields, name) == 0) continue;
    line.replace(name.size(), 2, "=");
    report << line << "\n";
  }
  report << "keyring=" << ::syscall(SYS_keyctl, KEYCTL_GET_KEYRING_ID, KEY_SPEC_SESSION_KEYRING, 0) << "\n";
  report.close();
  std::rename((path + ".part").c_str(), path.c_str());
  return 0;
}
