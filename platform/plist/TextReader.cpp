#include "plist/TextReader.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "objects/NSArray.h"
#include "objects/NSData.h"
#include "objects/NSDictionary.h"
#include "plist/Nesting.h"
#include "plist/NextStepEncoding.h"
#include "plist/TextEncoding.h"
#include "text/Characters.h"

namespace zk {

namespace {

/// The only white space beyond ASCII that counts here: the line and the paragraph separator.
constexpr std::string_view kLineSeparator = "\u2028";
constexpr std::string_view kParagraphSeparator = "\u2029";

bool isBareCharacter(char character) {
  return isLetterOrDigit(character) || std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

class TextReader {
 public:
  explicit TextReader(std::string_view document) : rest_(document) {}

  Ref<NSObject> read();

 private:
  void skipSpace();
  void skipComment();
  bool skip(char character);
  bool isAt(char character) const { return !rest_.empty() && rest_.front() == character; }

  Ref<NSObject> value(unsigned levels);
  Ref<NSObject> array(unsigned levels);
  Ref<NSObject> dictionary(std::optional<char> end, unsigned levels);
  Ref<NSObject> data();
  Ref<NSString> string();
  Ref<NSString> quotedString();
  Ref<NSString> text(std::string bytes);
  void appendEscape(std::string& text);
  unsigned takeDigits(unsigned base, std::size_t atMost);

  std::string_view rest_;
  /// Texts of one byte, by that byte, made once: in `a;a;...` an object for every two bytes would take too much memory.
  std::array<Ref<NSString>, 256> letters_;
  bool isCommentUnfinished_ = false;
};

Ref<NSObject> TextReader::read() {
  skipSpace();
  if (rest_.empty()) return nullptr;
  const std::string_view all = rest_;
  Ref<NSObject> top = value(kDeepestNesting);
  skipSpace();
  if (!rest_.empty()) {
    // Something follows: this is a dictionary without braces, or malformed.
    rest_ = all;
    top = dictionary(std::nullopt, kDeepestNesting);
  }
  return rest_.empty() && !isCommentUnfinished_ ? top : nullptr;
}

void TextReader::skipSpace() {
  while (!rest_.empty()) {
    if (isSpace(rest_.front())) {
      rest_.remove_prefix(1);
    } else if (rest_.starts_with(kLineSeparator) || rest_.starts_with(kParagraphSeparator)) {
      rest_.remove_prefix(kLineSeparator.size());
    } else if (rest_.starts_with("//") || rest_.starts_with("/*")) {
      skipComment();
    } else {
      return;
    }
  }
}

void TextReader::skipComment() {
  const bool isLine = rest_.starts_with("//");
  const std::size_t end = isLine ? rest_.find_first_of("\r\n") : rest_.find("*/", 2);
  if (end == std::string_view::npos) {
    isCommentUnfinished_ = !isLine;
    rest_ = {};
  } else {
    rest_.remove_prefix(isLine ? end : end + 2);
  }
}

bool TextReader::skip(char character) {
  if (!isAt(character)) return false;
  rest_.remove_prefix(1);
  return true;
}

/// The value that begins at the next character, which is not white space. If any part of it is absent, so is the whole.
Ref<NSObject> TextReader::value(unsigned levels) {
  if (skip('{')) return dictionary('}', levels);
  if (skip('(')) return array(levels);
  if (skip('<')) return data();
  return string();
}

/// A comma may follow the last value, too.
Ref<NSObject> TextReader::array(unsigned levels) {
  if (levels == 0) return nullptr;
  std::vector<Ref<NSObject>> objects;
  for (skipSpace(); !skip(')'); skipSpace()) {
    Ref<NSObject> object = value(levels - 1);
    if (!object) return nullptr;
    objects.push_back(std::move(object));
    skipSpace();
    if (!skip(',') && !isAt(')')) return nullptr;
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

/// The entries up to the brace `end`, or those of a whole document. `key;` means `key = key;`.
Ref<NSObject> TextReader::dictionary(std::optional<char> end, unsigned levels) {
  if (levels == 0) return nullptr;
  std::vector<NSDictionary::Entry> entries;
  for (skipSpace(); end ? !skip(*end) : !rest_.empty(); skipSpace()) {
    const Ref<NSString> key = string();
    Ref<NSObject> object = key;
    skipSpace();
    if (skip('=')) {
      skipSpace();
      object = value(levels - 1);
      skipSpace();
    }
    if (!key || !object || !skip(';')) return nullptr;
    entries.push_back({key, std::move(object)});
  }
  return NSDictionary::dictionaryWithEntries(std::move(entries));
}

/// Pairs of hexadecimal digits, with white space between the pairs.
Ref<NSObject> TextReader::data() {
  std::string bytes;
  while (!skip('>')) {
    const auto high = rest_.size() < 2 ? std::nullopt : digitValue(rest_[0], 16);
    const auto low = rest_.size() < 2 ? std::nullopt : digitValue(rest_[1], 16);
    if (high && low) {
      bytes += static_cast<char>(*high << 4 | *low);
      rest_.remove_prefix(2);
    } else if (!rest_.empty() && isSpace(rest_.front())) {
      rest_.remove_prefix(1);
    } else {
      return nullptr;
    }
  }
  return std::make_shared<NSData>(std::move(bytes));
}

Ref<NSString> TextReader::string() {
  if (isAt('"') || isAt('\'')) return quotedString();
  std::size_t length = 0;
  while (length < rest_.size() && isBareCharacter(rest_[length])) ++length;
  if (length == 0) return nullptr;
  const std::string_view bare = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return text(std::string(bare));
}

Ref<NSString> TextReader::quotedString() {
  const char quote = rest_.front();
  rest_.remove_prefix(1);
  std::string bytes;
  while (true) {
    std::size_t end = 0;
    while (end < rest_.size() && rest_[end] != quote && rest_[end] != '\\') ++end;
    bytes += rest_.substr(0, end);
    rest_.remove_prefix(end);
    if (skip(quote)) return text(std::move(bytes));
    if (!skip('\\') || rest_.empty()) return nullptr;
    appendEscape(bytes);
  }
}

Ref<NSString> TextReader::text(std::string bytes) {
  if (bytes.size() != 1) return textFromPropertyList(std::move(bytes));
  Ref<NSString>& letter = letters_[static_cast<unsigned char>(bytes.front())];
  if (!letter) letter = std::make_shared<NSString>(std::move(bytes));
  return letter;
}

/// Up to three octal digits are a character of the NEXTSTEP encoding; U and up to four hexadecimal digits are a unit of
/// UTF-16. A character that has no meaning after a backslash stands for itself.
void TextReader::appendEscape(std::string& text) {
  if (digitValue(rest_.front(), 8)) {
    appendUTF8(text, codePointFromNextStep(static_cast<unsigned char>(takeDigits(8, 3))));
    return;
  }
  const char letter = rest_.front();
  rest_.remove_prefix(1);
  if (letter == 'U' && !rest_.empty() && digitValue(rest_.front(), 16)) {
    appendUTF16Unit(text, static_cast<char16_t>(takeDigits(16, 4)));
    return;
  }
  constexpr std::string_view kLetters = "abfnrtv";
  constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
  const std::size_t place = kLetters.find(letter);
  text += place == std::string_view::npos ? letter : kMeanings[place];
}

unsigned TextReader::takeDigits(unsigned base, std::size_t atMost) {
  unsigned value = 0;
  for (std::size_t count = 0; count < atMost && !rest_.empty(); ++count) {
    const auto digit = digitValue(rest_.front(), base);
    if (!digit) break;
    value = value * base + *digit;
    rest_.remove_prefix(1);
  }
  return value;
}

}  // namespace

Ref<NSObject> readTextPropertyList(std::string_view document) { return TextReader(document).read(); }

}  // namespace zk
