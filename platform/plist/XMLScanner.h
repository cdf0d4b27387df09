#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zk {

/// Takes an XML document apart into tags and text, and skips the rest. It knows only the five entities of XML itself:
/// whatever a document type declares is skipped, and nothing is fetched or expanded. Every failure is final; the reader
/// then gives up.
class XMLScanner {
 public:
  struct Tag {
    enum class Kind { Start, End, Empty };
    Kind kind;
    std::string_view name;
  };

  /// `document` is well-formed UTF-8.
  explicit XMLScanner(std::string_view document) : rest_(document) {}

  /// Skips the XML declaration, comments and the document type, up to the first tag. False if they are malformed, or if
  /// the document names an encoding other than UTF-8, UTF-16 or ASCII.
  bool skipProlog();

  /// The next tag. Only white space, comments and processing instructions may come before it.
  std::optional<Tag> tag();

  /// The characters up to the next tag, with references resolved, CDATA sections included, comments and processing
  /// instructions left out, and each line end as a line feed.
  std::optional<std::string> characters();

  /// Whether only white space, comments and processing instructions are left.
  bool isAtEnd();

 private:
  bool isDeclaredEncodingKnown() const;
  bool skipDocumentType();
  bool skipAttributes();
  bool skipSpaceAndComments();
  bool skipComment();
  void skipSpace();
  bool isAtComment() const;
  bool skip(char character);
  bool skip(std::string_view start);
  bool appendReference(std::string& text);
  std::optional<std::string_view> takeQuoted();
  std::string_view takeName();

  std::string_view rest_;
};

/// Whether every character of `document`, which is UTF-8, may occur in an XML document.
bool holdsOnlyXMLCharacters(std::string_view document);

}  // namespace zk
