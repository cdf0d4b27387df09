#pragma once

#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// What every version of the binary form begins with; "bplist00" is the one that everybody writes.
inline constexpr std::string_view kBinaryHeader = "bplist0";

/// Reads the binary form. Absent if `document` is malformed, is nested too deeply, contains itself, holds an integer
/// beyond 64 bits, or has dictionaries with more than 64 MiB of keys together, a shared key counting for each. Objects
/// that nothing refers to are not looked at.
Ref<NSObject> readBinaryPropertyList(std::string_view document);

}  // namespace zk
