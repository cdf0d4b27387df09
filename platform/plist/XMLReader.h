#pragma once

#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// Reads the XML form. `document` is UTF-8. Absent if it is malformed, is nested too deeply, holds an integer beyond 64
/// bits, or uses an entity that XML itself does not define: a document type is skipped, and nothing external is
/// fetched. The `plist` element around the one value may be missing.
Ref<NSObject> readXMLPropertyList(std::string_view document);

}  // namespace zk
