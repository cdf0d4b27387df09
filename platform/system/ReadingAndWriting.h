#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "system/Item.h"
#include "system/SystemError.h"

namespace zk {

/// Reads an open file from its current position to its end.
/// @param content receives what was read
/// @param mostBytes a file with more to read fails with EFBIG
SystemError readAll(int descriptor, std::string& content,
                    std::size_t mostBytes = std::numeric_limits<std::size_t>::max());

/// Writes all of `bytes` at the open file's current position.
SystemError writeAll(int descriptor, std::string_view bytes);

/// Reads the target of a symbolic link.
SystemError readLink(Item link, std::string& target);

}  // namespace zk
