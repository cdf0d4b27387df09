#pragma once

#include <cstdint>

namespace zk {

/// The symbolic name of POSIX error `number` in the macOS numbering, e.g. "EPERM" for 1; the empty text outside 1 to
/// 105. Static storage, never null.
const char* ZKPOSIXErrorName(std::int32_t number);

/// The English description of POSIX error `number` in the macOS numbering; the empty text outside 1 to 105, and for
/// 105. Static storage, never null.
const char* ZKPOSIXErrorDescription(std::int32_t number);

}  // namespace zk
