#pragma once

#include <string>
#include <string_view>

#include "objects/NSString.h"

namespace zk {

bool isUTF8(std::string_view bytes);
bool isASCII(std::string_view bytes);

void appendUTF8(std::string& text, char32_t codePoint);

/// Appends one unit of UTF-16. A low surrogate makes one character with a high one that `text` ends with. A surrogate
/// without its partner is kept as the three bytes that UTF-8's rule gives for its number, which are not UTF-8.
void appendUTF16Unit(std::string& text, char16_t unit);

enum class ByteOrder { BigEndian, LittleEndian };

/// Converts whole units of UTF-16 to UTF-8.
std::string utf8FromUTF16(std::string_view units, ByteOrder order);

/// `text` as UTF-16, most significant byte first.
///
/// An NSString may hold bytes that are not UTF-8, since a path can be any bytes. A property list holds only text. Lone
/// surrogates, the usual way out, make other readers refuse the document, and a replacement character would make
/// different paths equal. So such a byte is written as two of Unicode's noncharacters, which every reader accepts and
/// which are never used in texts that people exchange: U+FDD0 plus its high four bits, then U+FDE0 plus its low ones. A
/// real character from U+FDD0 to U+FDDF is written byte by byte in the same way, so that every text comes back as it
/// was.
std::string utf16FromText(std::string_view text);

/// Makes a text object of UTF-8 from a property list, turning the noncharacters that utf16FromText() wrote back into
/// bytes. This is done for every form, since another program may have converted the file.
Ref<NSString> textFromPropertyList(std::string utf8);

}  // namespace zk
