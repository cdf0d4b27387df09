// Any UTF-8, read as a property list in the XML form.

#include "fuzz/PropertyListCheck.h"
#include "plist/TextEncoding.h"
#include "plist/XMLReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view document = zk::fuzz::asText(data, size);
  if (zk::isUTF8(document)) zk::fuzz::requireWritable(zk::readXMLPropertyList(document));
  return 0;
}
