#include "plist/NSPropertyListSerialization.h"

#include <optional>
#include <string>
#include <string_view>

#include "plist/BinaryReader.h"
#include "plist/BinaryWriter.h"
#include "plist/TextEncoding.h"
#include "plist/TextReader.h"
#include "plist/XMLReader.h"
#include "text/Characters.h"

namespace zk {

namespace {

constexpr std::string_view kMarkOfUTF8 = "\xEF\xBB\xBF";
constexpr std::string_view kMarkOfUTF16BigEndian = "\xFE\xFF";
constexpr std::string_view kMarkOfUTF16LittleEndian = "\xFF\xFE";

/// Whether a text is meant as XML: it begins with "<" and is not data of the old text form, which has only hexadecimal
/// digits and white space before its ">". No XML element of a property list has a name of such digits alone.
bool isXML(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  if (!text.starts_with('<')) return false;
  text.remove_prefix(1);
  while (!text.empty() && (isSpace(text.front()) || digitValue(text.front(), 16))) text.remove_prefix(1);
  return !text.starts_with('>');
}

Ref<NSObject> readText(std::string_view text) {
  if (!isUTF8(text)) return nullptr;
  return isXML(text) ? readXMLPropertyList(text) : readTextPropertyList(text);
}

}  // namespace

Ref<NSObject> NSPropertyListSerialization::propertyListWithData(const Ref<NSData>& data) {
  if (!data) return nullptr;
  std::string_view bytes = data->bytes();
  if (bytes.starts_with(kBinaryHeader)) return readBinaryPropertyList(bytes);
  if (bytes.starts_with(kMarkOfUTF8)) return readText(bytes.substr(kMarkOfUTF8.size()));

  const bool isBigEndian = bytes.starts_with(kMarkOfUTF16BigEndian);
  if (!isBigEndian && !bytes.starts_with(kMarkOfUTF16LittleEndian)) return readText(bytes);
  bytes.remove_prefix(kMarkOfUTF16BigEndian.size());
  if (bytes.size() % 2 != 0) return nullptr;
  return readText(utf8FromUTF16(bytes, isBigEndian ? ByteOrder::BigEndian : ByteOrder::LittleEndian));
}

Ref<NSData> NSPropertyListSerialization::dataFromPropertyList(const Ref<NSObject>& propertyList, unsigned long format) {
  if (format != NSPropertyListBinaryFormat_v1_0) return nullptr;
  std::optional<std::string> document = writeBinaryPropertyList(propertyList);
  return document ? std::make_shared<NSData>(std::move(*document)) : nullptr;
}

}  // namespace zk
