// Any bytes, read as a property list in the form that they show: mostly the old text form, in UTF-8 or in UTF-16 with
// its byte-order mark.

#include "fuzz/PropertyListCheck.h"
#include "plist/NSPropertyListSerialization.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = zk::NSData::dataWithBytes(zk::fuzz::asText(data, size));
  zk::fuzz::requireWritable(zk::NSPropertyListSerialization::propertyListWithData(bytes));
  return 0;
}
