#pragma once

#include <optional>
#include <string>

#include "objects/NSObject.h"

namespace zk {

/// The smallest binary form of `propertyList`, version 00; the same bytes for equal property lists. Nothing for an
/// object that no property list can hold, or for nesting that is too deep. A number keeps its type: 1, 1.0 and true are
/// three objects.
std::optional<std::string> writeBinaryPropertyList(const Ref<NSObject>& propertyList);

}  // namespace zk
