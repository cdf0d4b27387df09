// Any bytes that are not told to be XML or the binary form, in UTF-8 or UTF-16 with its mark, as a property list in the
// old text form.

#include "fuzz/PropertyListCheck.h"
#include "plist/NSPropertyListSerialization.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = zk::NSData::dataWithBytes(zk::fuzz::asText(data, size));
  zk::fuzz::requireWritable(zk::NSPropertyListSerialization::propertyListWithData(bytes));
  return 0;
}
