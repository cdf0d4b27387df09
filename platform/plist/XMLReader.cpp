#include "plist/XMLReader.h"

#include "objects/NSNumber.h"
#include "plist/Nesting.h"
#include "plist/TextEncoding.h"
#include "plist/ValueStack.h"
#include "plist/XMLScanner.h"
#include "plist/XMLValues.h"

namespace zk {

namespace {

using Tag = XMLScanner::Tag;

bool isEndOf(const std::optional<Tag>& tag, const Tag& start) {
  return tag && tag->kind == Tag::Kind::End && tag->name == start.name;
}

class XMLReader {
 public:
  explicit XMLReader(std::string_view document) : scanner_(document) {}

  Ref<NSObject> read();

 private:
  Ref<NSObject> top(const Tag& start);
  Ref<NSObject> value(const Tag& start, unsigned levels);
  Ref<NSObject> array(const Tag& start, unsigned levels);
  Ref<NSObject> dictionary(const Tag& start, unsigned levels);
  std::optional<std::string> content(const Tag& start);

  XMLScanner scanner_;
  ValueStack open_;
  const Ref<NSNumber> true_ = NSNumber::numberWithBool(true);
  const Ref<NSNumber> false_ = NSNumber::numberWithBool(false);
};

Ref<NSObject> XMLReader::read() {
  if (!scanner_.skipProlog()) return nullptr;
  const auto start = scanner_.tag();
  const Ref<NSObject> object = start ? top(*start) : nullptr;
  return scanner_.isAtEnd() ? object : nullptr;
}

/// The value in the document's outermost element. Of any part that is absent the whole is.
Ref<NSObject> XMLReader::top(const Tag& start) {
  if (start.name != "plist") return value(start, kDeepestNesting);
  if (start.kind != Tag::Kind::Start) return nullptr;
  const auto first = scanner_.tag();
  const Ref<NSObject> object = first ? value(*first, kDeepestNesting) : nullptr;
  return object && isEndOf(scanner_.tag(), start) ? object : nullptr;
}

Ref<NSObject> XMLReader::value(const Tag& start, unsigned levels) {
  if (start.kind == Tag::Kind::End) return nullptr;
  if (start.name == "array") return array(start, levels);
  if (start.name == "dict") return dictionary(start, levels);

  std::optional<std::string> characters = content(start);
  if (!characters) return nullptr;
  if (start.name == "string") return textFromPropertyList(std::move(*characters));
  if (start.name == "integer") return integerFromXML(*characters);
  if (start.name == "real") return realFromXML(*characters);
  if (start.name == "date") return dateFromXML(*characters);
  if (start.name == "data") return dataFromXML(*characters);
  if (start.name == "true") return characters->empty() ? true_ : nullptr;
  if (start.name == "false") return characters->empty() ? false_ : nullptr;
  return nullptr;
}

Ref<NSObject> XMLReader::array(const Tag& start, unsigned levels) {
  if (levels == 0) return nullptr;
  const std::size_t first = open_.count();
  if (start.kind == Tag::Kind::Empty) return open_.takeArray(first);
  while (true) {
    const auto tag = scanner_.tag();
    if (isEndOf(tag, start)) return open_.takeArray(first);
    Ref<NSObject> object = tag ? value(*tag, levels - 1) : nullptr;
    if (!object) return nullptr;
    open_.push(std::move(object));
  }
}

Ref<NSObject> XMLReader::dictionary(const Tag& start, unsigned levels) {
  if (levels == 0) return nullptr;
  const std::size_t first = open_.count();
  if (start.kind == Tag::Kind::Empty) return open_.takeDictionary(first);
  while (true) {
    const auto keyTag = scanner_.tag();
    if (isEndOf(keyTag, start)) return open_.takeDictionary(first);
    if (!keyTag || keyTag->kind == Tag::Kind::End || keyTag->name != "key") return nullptr;
    std::optional<std::string> key = content(*keyTag);
    if (!key) return nullptr;
    open_.push(textFromPropertyList(std::move(*key)));

    const auto valueTag = scanner_.tag();
    Ref<NSObject> object = valueTag ? value(*valueTag, levels - 1) : nullptr;
    if (!object) return nullptr;
    open_.push(std::move(object));
  }
}

/// The characters of an element that holds nothing else, up to and with its end.
std::optional<std::string> XMLReader::content(const Tag& start) {
  if (start.kind == Tag::Kind::Empty) return std::string();
  std::optional<std::string> characters = scanner_.characters();
  return isEndOf(scanner_.tag(), start) ? characters : std::nullopt;
}

}  // namespace

Ref<NSObject> readXMLPropertyList(std::string_view document) {
  return holdsOnlyXMLCharacters(document) ? XMLReader(document).read() : nullptr;
}

}  // namespace zk
