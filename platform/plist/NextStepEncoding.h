#pragma once

namespace zk {

/// The code point of a byte in the NEXTSTEP encoding, which octal escapes of the old text form use.
char32_t codePointFromNextStep(unsigned char byte);

}  // namespace zk
