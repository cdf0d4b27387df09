#pragma once

#include <string_view>

#include "objects/NSObject.h"

namespace zk {

/// Reads the old text form: `{key = value; ...}`, `(value, ...)`, `<hexadecimal bytes>`, and strings, quoted or bare; a
/// document may leave out the outermost braces of a dictionary, as .strings files do. `document` is UTF-8.
///
/// Absent when it is malformed or nested too deeply, and when nothing but white space and comments stands there. A
/// string that stands alone is the property list: `hello` is a string, `hello world` is malformed.
Ref<NSObject> readTextPropertyList(std::string_view document);

}  // namespace zk
