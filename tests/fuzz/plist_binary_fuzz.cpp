// Any bytes, read as a property list in the binary form.

#include "fuzz/PropertyListCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zk::fuzz::requireWritable(zk::readBinaryPropertyList(zk::fuzz::asText(data, size)));
  return 0;
}
