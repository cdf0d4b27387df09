#pragma once

#include <string_view>

#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSNumber.h"

namespace zk {

/// The values of XML elements from their characters. White space around them is ignored. Each is absent if the
/// characters are anything but one whole value.

/// Decimal, or hexadecimal after "0x", with an optional sign; absent if neither signed nor unsigned 64 bits can hold
/// it.
Ref<NSNumber> integerFromXML(std::string_view characters);

/// Decimal with an optional exponent, "nan", "inf" or "infinity", with an optional sign; absent beyond the range of a
/// double.
Ref<NSNumber> realFromXML(std::string_view characters);

/// `YYYY-MM-DDThh:mm:ssZ`, in the Gregorian calendar, even before its introduction.
Ref<NSDate> dateFromXML(std::string_view characters);

/// Base 64 with its padding; white space may be anywhere.
Ref<NSData> dataFromXML(std::string_view characters);

}  // namespace zk
