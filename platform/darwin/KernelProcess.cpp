#include "darwin/KernelProcess.h"

#include <sys/sysctl.h>

#include "system/Port.h"

namespace zk::darwin {

namespace {

/// Asks the kernel for its record of a process.
/// @param exists receives whether there is one that is no zombie
/// @return whether the kernel answered
bool askKernel(std::int32_t pid, kinfo_proc& record, bool& exists) {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
  record = {};
  std::size_t size = sizeof record;
  if (::sysctl(name, 4, &record, &size, nullptr, 0) != 0) return false;
  // No such process is an empty answer, not an error.
  exists = size == sizeof record && record.kp_proc.p_pid == pid && record.kp_proc.p_stat != SZOMB;
  return true;
}

}  // namespace

std::optional<uid_t> userOf(std::int32_t pid) {
  kinfo_proc record;
  bool exists = false;
  if (pid <= 0 || !askKernel(pid, record, exists) || !exists) return std::nullopt;
  return record.kp_eproc.e_ucred.cr_uid;
}

}  // namespace zk::darwin

namespace zk {

/// From the kernel, which knows every process.
port::Existence port::existenceOf(std::int32_t pid) {
  if (pid <= 0) return Existence::gone;
  kinfo_proc record;
  bool exists = false;
  if (!darwin::askKernel(pid, record, exists)) return Existence::unknown;
  return exists ? Existence::exists : Existence::gone;
}

}  // namespace zk
