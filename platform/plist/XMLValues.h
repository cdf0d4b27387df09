#pragma once

#include <string_view>

#include "objects/NSData.h"
#include "objects/NSDate.h"
#include "objects/NSNumber.h"

namespace zk {

/// The values of XML elements from their characters. White space around them is passed over; each is absent when the
/// characters are anything else than one whole value.

/// Decimal, or hexadecimal after "0x", with an optional sign; absent beyond signed and unsigned 64 bits.
Ref<NSNumber> integerFromXML(std::string_view characters);

/// Decimal with an optional exponent, "nan", "inf" or "infinity", with an optional sign; absent beyond the range of a
/// double.
Ref<NSNumber> realFromXML(std::string_view characters);

/// `YYYY-MM-DDThh:mm:ssZ`, in the Gregorian calendar before its introduction, too.
Ref<NSDate> dateFromXML(std::string_view characters);

/// Base 64 with its padding; white space may stand anywhere.
Ref<NSData> dataFromXML(std::string_view characters);

}  // namespace zk
