#pragma once

#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// Reads the XML form. `document` is UTF-8. Absent when it is malformed, nested too deeply, holds an integer beyond 64
/// bits, or uses an entity that XML itself does not define: a document type is passed over, nothing external is
/// fetched. The `plist` element may be missing around the one value.
Ref<NSObject> readXMLPropertyList(std::string_view document);

}  // namespace zk
