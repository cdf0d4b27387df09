#pragma once

#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// Reads the old text form: `{key = value; ...}`, `(value, ...)`, `<hexadecimal bytes>`, and strings, quoted or bare; a
/// document may leave out the outermost braces of a dictionary, as .strings files do. `document` is UTF-8.
///
/// Absent if it is malformed, is nested too deeply, or holds only white space and comments. A single string is a
/// property list: `hello` is one, `hello world` is malformed.
Ref<NSObject> readTextPropertyList(std::string_view document);

}  // namespace zk
