#include "linux/LaunchStamp.h"

#include <charconv>
#include <string>

#include "linux/ProcFile.h"
#include "system/Port.h"

namespace zk {

namespace {

std::uint32_t hashOf(std::string_view text) {
  // FNV-1a.
  std::uint32_t hash = 2166136261U;
  for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  return hash;
}

}  // namespace

std::optional<std::uint32_t> port::launchStampOf(std::int32_t pid) {
  const std::optional<std::string> boot = readProcFile("/proc/sys/kernel/random/boot_id");
  const std::optional<std::string> stat = readProcFile(procFolder(pid) + "/stat");
  const std::optional<std::string> startTime = stat ? statField(*stat, kStatStartTime) : std::nullopt;
  if (!boot || !startTime) return std::nullopt;

  std::uint64_t ticks = 0;
  const auto end = startTime->data() + startTime->size();
  if (std::from_chars(startTime->data(), end, ticks).ptr != end) return std::nullopt;
  return launchStamp(*boot, ticks);
}

std::uint32_t launchStamp(std::string_view bootId, std::uint64_t startTicks) {
  return hashOf(bootId) + static_cast<std::uint32_t>(startTicks);
}

}  // namespace zk
