#pragma once

#include <string>
#include <string_view>

#include "objects/NSString.h"

namespace zk {

bool isUTF8(std::string_view bytes);
bool isASCII(std::string_view bytes);

void appendUTF8(std::string& text, char32_t codePoint);

/// Appends one unit of UTF-16. A low surrogate makes one character with a high one that `text` ends with; a surrogate
/// that stays alone is kept as the three bytes that UTF-8's rule gives for its number, which are not UTF-8.
void appendUTF16Unit(std::string& text, char16_t unit);

enum class ByteOrder { BigEndian, LittleEndian };

/// Units of UTF-16, none of them cut off, as UTF-8.
std::string utf8FromUTF16(std::string_view units, ByteOrder order);

/// `text` as UTF-16, most significant byte first.
///
/// An NSString may hold bytes that are not UTF-8 (a path can be any bytes), and a property list only text. Lone
/// surrogates, the usual way out, make other readers refuse the document, and a replacement character would make
/// different paths equal. So such a byte is written as two of Unicode's noncharacters, which every reader takes and no
/// text that people exchange holds: U+FDD0 plus its high four bits, U+FDE0 plus its low ones. A real character from
/// U+FDD0 to U+FDDF is written byte by byte in the same way, so that every text comes back as it was.
std::string utf16FromText(std::string_view text);

/// A text object of UTF-8 out of a property list, with the bytes that utf16FromText() had to write as noncharacters put
/// back. Done in every form, since a file may have been converted by other programs since it was written.
Ref<NSString> textFromPropertyList(std::string utf8);

}  // namespace zk
