#include "plist/XMLScanner.h"

#include <algorithm>
#include <array>

#include "plist/TextEncoding.h"
#include "text/Characters.h"

namespace zk {

namespace {

/// U+FFFE and U+FFFF in UTF-8, without the last byte.
constexpr std::string_view kExcludedPrefix = "\xEF\xBF";

struct Entity {
  std::string_view name;
  char character;
};
constexpr std::array<Entity, 5> kEntities = {{{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}}};

/// The longest reference that is read, without its ampersand and semicolon: #x10FFFF with some leading zeros.
constexpr std::size_t kLongestReference = 32;

constexpr std::string_view kSectionStart = "<![CDATA[";
constexpr std::string_view kSectionEnd = "]]>";

/// The encodings that a document may name. Which one it has shows in its byte-order mark, or in having none.
constexpr std::array<std::string_view, 5> kEncodings = {"utf-8", "utf-16", "utf-16be", "utf-16le", "us-ascii"};

constexpr bool isXMLSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

constexpr bool isXMLCharacter(char32_t codePoint) {
  if (codePoint < 0x20) return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
  return codePoint < 0xD800 || (codePoint >= 0xE000 && codePoint < 0xFFFE) ||
         (codePoint >= 0x10000 && codePoint <= 0x10FFFF);
}

bool isSameIgnoringCase(std::string_view text, std::string_view inLowerCase) {
  return std::equal(text.begin(), text.end(), inLowerCase.begin(), inLowerCase.end(),
                    [](char left, char right) { return lowerCase(left) == right; });
}

bool isEncodingKnown(std::string_view name) {
  return std::any_of(kEncodings.begin(), kEncodings.end(),
                     [name](std::string_view known) { return isSameIgnoringCase(name, known); });
}

/// Appends `characters` with each carriage return, and the line feed that may follow it, as one line feed.
void appendWithLineFeeds(std::string& text, std::string_view characters) {
  while (true) {
    const std::size_t end = characters.find('\r');
    text += characters.substr(0, end);
    if (end == std::string_view::npos) return;
    text += '\n';
    characters.remove_prefix(characters.substr(end).starts_with("\r\n") ? end + 2 : end + 1);
  }
}

/// The code point of a numeric reference, `#65` or `#x41`.
std::optional<char32_t> numericReference(std::string_view reference) {
  const bool isHexadecimal = reference.starts_with("#x");
  reference.remove_prefix(isHexadecimal ? 2 : 1);
  char32_t value = 0;
  for (const char character : reference) {
    const auto digit = digitValue(character, isHexadecimal ? 16 : 10);
    if (!digit || value > 0x10FFFF) return std::nullopt;
    value = value * (isHexadecimal ? 16 : 10) + *digit;
  }
  return isXMLCharacter(value) ? std::optional(value) : std::nullopt;
}

}  // namespace

bool holdsOnlyXMLCharacters(std::string_view document) {
  for (std::size_t index = 0; index < document.size(); ++index) {
    const auto byte = static_cast<unsigned char>(document[index]);
    if (byte >= 0x20 && byte != 0xEF) continue;
    if (byte < 0x20 && !isXMLSpace(document[index])) return false;
    if (byte == 0xEF && document.substr(index).starts_with(kExcludedPrefix) &&
        static_cast<unsigned char>(document[index + 2]) >= 0xBE) {
      return false;
    }
  }
  return true;
}

bool XMLScanner::skipProlog() {
  constexpr std::string_view kDeclaration = "<?xml";  // other instructions' names may begin with it, too
  const bool isDeclared =
      rest_.starts_with(kDeclaration) && rest_.size() > kDeclaration.size() && isXMLSpace(rest_[kDeclaration.size()]);
  if (isDeclared && !isDeclaredEncodingKnown()) return false;
  if (!skipSpaceAndComments()) return false;
  return !skip("<!DOCTYPE") || skipDocumentType();
}

/// Whether the XML declaration, which is next, names an encoding that a document may have, or none.
bool XMLScanner::isDeclaredEncodingKnown() const {
  const std::string_view declaration = rest_.substr(0, rest_.find("?>"));
  const std::size_t place = declaration.find("encoding");
  if (place == std::string_view::npos) return true;
  XMLScanner value(declaration.substr(std::min(declaration.find_first_of("'\"", place), declaration.size())));
  const auto name = value.takeQuoted();
  return name && isEncodingKnown(*name);
}

/// Skips the rest of a document type with its internal subset. Markup, comments and quoted texts inside it may hold the
/// characters that would end it.
bool XMLScanner::skipDocumentType() {
  for (std::size_t depth = 1; depth > 0;) {
    const std::size_t next = rest_.find_first_of("<>\"'");
    if (next == std::string_view::npos) return false;
    rest_.remove_prefix(next);
    if (isAtComment()) {
      if (!skipComment()) return false;
    } else if (skip('<')) {
      ++depth;
    } else if (skip('>')) {
      --depth;
    } else if (!takeQuoted()) {
      return false;
    }
  }
  return true;
}

std::optional<XMLScanner::Tag> XMLScanner::tag() {
  if (!skipSpaceAndComments() || !skip('<')) return std::nullopt;
  const bool isEnd = skip('/');
  const std::string_view name = takeName();
  if (name.empty()) return std::nullopt;
  if (isEnd) {
    skipSpace();
    return skip('>') ? std::optional(Tag{Tag::Kind::End, name}) : std::nullopt;
  }
  if (!skipAttributes()) return std::nullopt;
  if (skip("/>")) return Tag{Tag::Kind::Empty, name};
  return skip('>') ? std::optional(Tag{Tag::Kind::Start, name}) : std::nullopt;
}

/// Skips `name="value"` and `name='value'` up to the end of the tag.
bool XMLScanner::skipAttributes() {
  for (skipSpace(); !rest_.empty() && rest_.front() != '>' && rest_.front() != '/'; skipSpace()) {
    if (takeName().empty()) return false;
    skipSpace();
    if (!skip('=')) return false;
    skipSpace();
    const auto value = takeQuoted();
    if (!value || value->find('<') != std::string_view::npos) return false;
  }
  return true;
}

std::optional<std::string> XMLScanner::characters() {
  std::string text;
  while (true) {
    std::size_t end = 0;
    while (end < rest_.size() && rest_[end] != '<' && rest_[end] != '&') ++end;
    if (end == rest_.size()) return std::nullopt;
    const std::string_view plain = rest_.substr(0, end);
    if (plain.find(kSectionEnd) != std::string_view::npos) return std::nullopt;
    appendWithLineFeeds(text, plain);
    rest_.remove_prefix(end);

    if (skip('&')) {
      if (!appendReference(text)) return std::nullopt;
    } else if (rest_.starts_with(kSectionStart)) {
      const std::size_t sectionEnd = rest_.find(kSectionEnd);
      if (sectionEnd == std::string_view::npos) return std::nullopt;
      appendWithLineFeeds(text, rest_.substr(kSectionStart.size(), sectionEnd - kSectionStart.size()));
      rest_.remove_prefix(sectionEnd + kSectionEnd.size());
    } else if (isAtComment()) {
      if (!skipComment()) return std::nullopt;
    } else {
      return text;
    }
  }
}

/// Appends the character that `&name;` stands for. The ampersand has been read.
bool XMLScanner::appendReference(std::string& text) {
  const std::string_view reference = rest_.substr(0, std::min(rest_.find(';'), kLongestReference));
  if (!rest_.substr(reference.size()).starts_with(';')) return false;
  rest_.remove_prefix(reference.size() + 1);
  if (reference.starts_with('#')) {
    const auto codePoint = numericReference(reference);
    if (codePoint) appendUTF8(text, *codePoint);
    return codePoint.has_value();
  }
  const auto* entity = std::find_if(kEntities.begin(), kEntities.end(),
                                    [reference](const Entity& known) { return known.name == reference; });
  if (entity == kEntities.end()) return false;
  text += entity->character;
  return true;
}

bool XMLScanner::isAtEnd() { return skipSpaceAndComments() && rest_.empty(); }

void XMLScanner::skipSpace() {
  while (!rest_.empty() && isXMLSpace(rest_.front())) rest_.remove_prefix(1);
}

/// False if a comment or a processing instruction does not end.
bool XMLScanner::skipSpaceAndComments() {
  for (skipSpace(); isAtComment(); skipSpace()) {
    if (!skipComment()) return false;
  }
  return true;
}

/// Skips the comment or the processing instruction that is next.
bool XMLScanner::skipComment() {
  const bool isComment = skip("<!--");
  const std::string_view end = isComment ? "-->" : "?>";
  const std::size_t found = rest_.find(end);
  if (found == std::string_view::npos) return false;
  rest_.remove_prefix(found + end.size());
  return true;
}

/// Whether a comment or a processing instruction is next.
bool XMLScanner::isAtComment() const {
  if (rest_.size() < 2 || rest_[0] != '<') return false;
  return rest_[1] == '?' || (rest_[1] == '!' && rest_.starts_with("<!--"));
}

bool XMLScanner::skip(char character) {
  if (rest_.empty() || rest_.front() != character) return false;
  rest_.remove_prefix(1);
  return true;
}

bool XMLScanner::skip(std::string_view start) {
  if (!rest_.starts_with(start)) return false;
  rest_.remove_prefix(start.size());
  return true;
}

/// Takes a text in quotes. The opening quote is next.
std::optional<std::string_view> XMLScanner::takeQuoted() {
  if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\'')) return std::nullopt;
  const std::size_t end = rest_.find(rest_.front(), 1);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view text = rest_.substr(1, end - 1);
  rest_.remove_prefix(end + 1);
  return text;
}

std::string_view XMLScanner::takeName() {
  const auto isNameCharacter = [](char character) {
    return isLetterOrDigit(character) || character == '_' || character == '-' || character == '.' || character == ':' ||
           static_cast<unsigned char>(character) >= 0x80;
  };
  std::size_t length = 0;
  while (length < rest_.size() && isNameCharacter(rest_[length])) ++length;
  const std::string_view name = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return name;
}

}  // namespace zk
