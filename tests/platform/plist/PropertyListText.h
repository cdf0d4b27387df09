#pragma once

#include <string>
#include <string_view>

#include "objects/NSObject.h"

namespace zk::test {

/// A property list as one line of JSON that distinguishes all kinds: texts, booleans, integers, null and lists as they
/// are, and {"real": bits}, {"date": bits}, {"data": bytes}, {"dict": {...}}, bits and bytes in hexadecimal. A byte of
/// a text that is not UTF-8 becomes the escape \udcXX. "absent" for an absent object.
std::string jsonFromPropertyList(const Ref<NSObject>& propertyList);

/// Bits of a real or a date, as in the JSON.
std::string hexadecimalBits(double value);
std::string hexadecimal(std::string_view bytes);

}  // namespace zk::test
