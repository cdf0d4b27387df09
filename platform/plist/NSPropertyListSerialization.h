#pragma once

#include "objects/NSData.h"
#include "objects/NSObject.h"

namespace zk {

/// The only form that is written.
inline constexpr unsigned long NSPropertyListBinaryFormat_v1_0 = 200;

/// Reads and writes property lists. The objects are NSString, NSNumber, NSDate, NSData, NSArray, NSDictionary and, in
/// the binary form only, NSNull. A UID is read as a dictionary with its number under "CF$UID", a set as a list.
class NSPropertyListSerialization {
 public:
  NSPropertyListSerialization() = delete;

  /// `propertyListWithData:options:format:error:`, with options 0, asking for neither the form found nor an error.
  /// Reads the binary, the XML or the old text form, recognised by the content. Absent if the data is not a property
  /// list: malformed, nested deeper than 512 levels, or with an integer beyond 64 bits.
  static Ref<NSObject> propertyListWithData(const Ref<NSData>& data);

  /// `dataFromPropertyList:format:errorDescription:`: the smallest binary form; the same bytes for equal property
  /// lists. Absent for any form but NSPropertyListBinaryFormat_v1_0, for an object that no property list can hold, and
  /// for nesting deeper than 512 levels.
  static Ref<NSData> dataFromPropertyList(const Ref<NSObject>& propertyList, unsigned long format);
};

}  // namespace zk
