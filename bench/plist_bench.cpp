// Reads and writes property lists: the documents `binary`, `xml` and `record` (a process-info record in the binary
// form) in the folder that the environment variable ZK_BENCH_DOCUMENTS names. compare_plist.py makes them and compares
// this program with another implementation.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "files/NSDataFiles.h"
#include "objects/NSURL.h"
#include "plist/NSPropertyListSerialization.h"

namespace zk {
namespace {

Ref<NSData> document(const std::string& name) {
  const char* folder = std::getenv("ZK_BENCH_DOCUMENTS");
  const auto path = NSString::stringWithBytes(std::string(folder == nullptr ? "." : folder) + "/" + name);
  auto data = dataWithContentsOfURL(NSURL::fileURLWithPath(path), std::size_t{1} << 24);
  if (!data) {
    std::cerr << path->bytes() << " cannot be read\n";
    std::exit(1);
  }
  return data;
}

Ref<NSObject> read(const Ref<NSData>& data) {
  auto propertyList = NSPropertyListSerialization::propertyListWithData(data);
  if (!propertyList) {
    std::cerr << "a document is no property list\n";
    std::exit(1);
  }
  return propertyList;
}

Ref<NSData> write(const Ref<NSObject>& propertyList) {
  return NSPropertyListSerialization::dataFromPropertyList(propertyList, NSPropertyListBinaryFormat_v1_0);
}

void countBytes(benchmark::State& state, const Ref<NSData>& data) {
  state.SetBytesProcessed(static_cast<std::int64_t>(data->length()) * static_cast<std::int64_t>(state.iterations()));
}

void readDocument(benchmark::State& state, const char* name) {
  const auto data = document(name);
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(read(data));
  countBytes(state, data);
}
BENCHMARK_CAPTURE(readDocument, binary, "binary");
BENCHMARK_CAPTURE(readDocument, xml, "xml");

void writeDocument(benchmark::State& state) {
  const auto propertyList = read(document("binary"));
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(write(propertyList));
  countBytes(state, write(propertyList));
}
BENCHMARK(writeDocument);

/// Writes a process-info record and reads it back.
void roundTripRecord(benchmark::State& state) {
  const auto record = read(document("record"));
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(read(write(record)));
}
BENCHMARK(roundTripRecord);

}  // namespace
}  // namespace zk

BENCHMARK_MAIN();
