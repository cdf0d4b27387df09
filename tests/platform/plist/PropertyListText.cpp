#include "platform/plist/PropertyListText.h"

#include <algorithm>
#include <bit>

#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSDictionary.h"
#include "objects/NSNull.h"
#include "objects/NSNumber.h"
#include "text/Formatting.h"
#include "text/UTF8.h"

namespace zk::test {

namespace {

std::string escape(unsigned unit) { return stringWithFormat("\\u%04x"_ns, unit)->bytes(); }

std::string inQuotes(std::string_view text) {
  std::string json = "\"";
  for (std::size_t index = 0; index < text.size();) {
    const auto codePoint = codePointAt(text, index);
    const std::size_t length = codePoint ? codePoint->length : 1;
    const auto byte = static_cast<unsigned char>(text[index]);
    if (!codePoint) {
      json += escape(0xDC00U + byte);
    } else if (byte < 0x20 || byte == 0x7F) {
      json += escape(byte);
    } else {
      if (byte == '"' || byte == '\\') json += '\\';
      json += text.substr(index, length);
    }
    index += length;
  }
  return json + "\"";
}

std::string tagged(std::string_view tag, const std::string& value) {
  return "{\"" + std::string(tag) + "\":" + value + "}";
}

template <class Items, class Item>
std::string joined(const Items& items, Item item) {
  std::string json;
  for (const auto& one : items) json += (json.empty() ? "" : ",") + item(one);
  return json;
}

std::string jsonFromNumber(const NSNumber& number) {
  if (number.isBoolean()) return number.boolValue() ? "true" : "false";
  if (number.isReal()) return tagged("real", "\"" + hexadecimalBits(number.doubleValue()) + "\"");
  return number.description()->bytes();
}

}  // namespace

std::string hexadecimal(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) text += stringWithFormat("%02x"_ns, static_cast<unsigned char>(byte))->bytes();
  return text;
}

std::string hexadecimalBits(double value) {
  return stringWithFormat("%016llx"_ns, std::bit_cast<std::uint64_t>(value))->bytes();
}

std::string jsonFromPropertyList(const Ref<NSObject>& propertyList) {
  if (!propertyList) return "absent";
  if (const auto text = asString(propertyList)) return inQuotes(text->bytes());
  if (const auto number = asNumber(propertyList)) return jsonFromNumber(*number);
  if (const auto data = asData(propertyList)) return tagged("data", inQuotes(hexadecimal(data->bytes())));
  if (const auto date = asDate(propertyList)) {
    return tagged("date", inQuotes(hexadecimalBits(date->timeIntervalSinceReferenceDate())));
  }
  if (const auto array = asArray(propertyList)) return "[" + joined(array->objects(), &jsonFromPropertyList) + "]";
  if (const auto dictionary = asDictionary(propertyList)) {
    const auto entry = [](const NSDictionary::Entry& one) {
      return inQuotes(one.key->bytes()) + ":" + jsonFromPropertyList(one.object);
    };
    return tagged("dict", "{" + joined(dictionary->entries(), entry) + "}");
  }
  return std::dynamic_pointer_cast<NSNull>(propertyList) ? "null" : "unknown";
}

}  // namespace zk::test
