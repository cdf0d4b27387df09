#include "plist/XMLReader.h"

#include "objects/NSArray.h"
#include "objects/NSDictionary.h"
#include "plist/Nesting.h"
#include "plist/TextEncoding.h"
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
};

Ref<NSObject> XMLReader::read() {
  if (!scanner_.skipProlog()) return nullptr;
  const auto start = scanner_.tag();
  const Ref<NSObject> object = start ? top(*start) : nullptr;
  return scanner_.isAtEnd() ? object : nullptr;
}

/// The value in the document's outermost element. If any part of it is absent, so is the whole.
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
  if (start.name == "true") return characters->empty() ? NSNumber::numberWithBool(true) : nullptr;
  if (start.name == "false") return characters->empty() ? NSNumber::numberWithBool(false) : nullptr;
  return nullptr;
}

Ref<NSObject> XMLReader::array(const Tag& start, unsigned levels) {
  if (levels == 0) return nullptr;
  std::vector<Ref<NSObject>> objects;
  while (start.kind != Tag::Kind::Empty) {
    const auto tag = scanner_.tag();
    if (isEndOf(tag, start)) break;
    Ref<NSObject> object = tag ? value(*tag, levels - 1) : nullptr;
    if (!object) return nullptr;
    objects.push_back(std::move(object));
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

Ref<NSObject> XMLReader::dictionary(const Tag& start, unsigned levels) {
  if (levels == 0) return nullptr;
  std::vector<NSDictionary::Entry> entries;
  while (start.kind != Tag::Kind::Empty) {
    const auto keyTag = scanner_.tag();
    if (isEndOf(keyTag, start)) break;
    if (!keyTag || keyTag->kind == Tag::Kind::End || keyTag->name != "key") return nullptr;
    std::optional<std::string> key = content(*keyTag);
    const auto valueTag = scanner_.tag();
    Ref<NSObject> object = key && valueTag ? value(*valueTag, levels - 1) : nullptr;
    if (!object) return nullptr;
    entries.push_back({textFromPropertyList(std::move(*key)), std::move(object)});
  }
  return NSDictionary::dictionaryWithEntries(std::move(entries));
}

/// The characters of an element that holds nothing else. Reads past the element's end.
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
