// Reads and prints a version, compared with the C library's sscanf and snprintf on the same text, and looks up an
// error's description. Counts the allocations of each call.

#include <benchmark/benchmark.h>

#include <cstdio>

#include "POSIXErrorTable.h"
#include "ZKVersion.h"
#include "support/Memory.h"

namespace zk {
namespace {

constexpr const char* kText = "1.2.3 (4)";

/// Reports how often each round of the loop in `body` allocates memory.
template <class Body>
void measure(benchmark::State& state, Body body) {
  const std::size_t before = test::allocationCount();
  for ([[maybe_unused]] auto turn : state) body();
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(test::allocationCount() - before), benchmark::Counter::kAvgIterations);
}

void parseWithSscanf(benchmark::State& state) {
  measure(state, [] {
    unsigned parts[4];
    // NOLINTNEXTLINE(cert-err34-c): this is what the reader is measured against.
    benchmark::DoNotOptimize(std::sscanf(kText, "%u.%u.%u (%u)", &parts[0], &parts[1], &parts[2], &parts[3]));
    benchmark::DoNotOptimize(parts);
  });
}
BENCHMARK(parseWithSscanf);

void parseVersion(benchmark::State& state) {
  const Ref<NSString> text = NSString::stringWithUTF8String(kText);
  measure(state, [&text] { benchmark::DoNotOptimize(ZKVersion::versionWithString(text)); });
}
BENCHMARK(parseVersion);

void parsePackedVersion(benchmark::State& state) {
  const Ref<NSString> text = "102030004"_ns;
  measure(state, [&text] { benchmark::DoNotOptimize(ZKVersion::versionWithString(text)); });
}
BENCHMARK(parsePackedVersion);

void printWithSnprintf(benchmark::State& state) {
  unsigned parts[4] = {1, 2, 3, 4};
  measure(state, [&parts] {
    char text[32];
    benchmark::DoNotOptimize(parts);
    static_cast<void>(std::snprintf(text, sizeof text, "%u.%u.%u (%u)", parts[0], parts[1], parts[2], parts[3]));
    benchmark::DoNotOptimize(text);
  });
}
BENCHMARK(printWithSnprintf);

void printVersion(benchmark::State& state) {
  const Ref<ZKVersion> version = ZKVersion::versionWithMajor(1, 2, 3, 4);
  measure(state, [&version] { benchmark::DoNotOptimize(version->description()); });
}
BENCHMARK(printVersion);

void describeErrorNumber(benchmark::State& state) {
  std::int32_t number = 0;
  measure(state, [&number] {
    number = (number + 1) & 127;
    benchmark::DoNotOptimize(ZKPOSIXErrorDescription(number));
  });
}
BENCHMARK(describeErrorNumber);

}  // namespace
}  // namespace zk

BENCHMARK_MAIN();
